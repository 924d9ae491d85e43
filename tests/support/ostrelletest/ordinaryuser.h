#pragma once

#include <QtGlobal>

#include <memory>

// Gives the process the rights of an ordinary user for the scope, so that permission bits refuse a test
// what they would refuse a user's program, also where the suite runs as the superuser (in a container).
//
// Make the scope first and the test's QTemporaryDir inside it: then the ordinary user owns it.
//
//     const OrdinaryUser user;
//     QVERIFY(user.isOrdinary());
//     const QTemporaryDir dir;
//
// Linux: real and effective user and group become "nobody" for all threads of the process (the real ones
// too, since access() asks by them); an ordinary user stays who he is. Scopes may nest.
// Windows: nothing changes and isOrdinary() is true, as neither the read-only attribute nor the sharing
// mode of an open file makes an exception for an administrator. There are no permission bits to test
// with there; see ScopedUnremovableFile and ScopedUnreadableFile (ostrelletest/lockedfile.h).
class OrdinaryUser
{
public:
    OrdinaryUser();
    // Goes back to the former user. A process that cannot is ended: it must not run on with mixed rights.
    ~OrdinaryUser();
    Q_DISABLE_COPY_MOVE(OrdinaryUser)

    // Whether the scope has no more than an ordinary user's rights. A test fails where this is false.
    [[nodiscard]] bool isOrdinary() const;

private:
    struct Former;
    std::unique_ptr<Former> m_former;
};
