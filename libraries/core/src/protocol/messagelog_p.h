#pragma once

// Takes the log's file out of use for good: called by the file's destructor at the end of the process,
// when other static objects and threads may still log. Waits for a message that is being written.
void detachLogFile();
