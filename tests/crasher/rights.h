#pragma once

class QProcess;

// Lets the permissions of files and directories hold for `program`, which starts later, also where it is the
// superuser's. Linux: it gets no capability to write in spite of them. Windows: nothing to do.
void obeyPermissions(QProcess &program);
