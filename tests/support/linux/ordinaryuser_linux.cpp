#include "ostrelletest/ordinaryuser.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include <grp.h>
#include <unistd.h>

namespace
{

// The overflow user and group, "nobody" and "nogroup" in every distribution.
constexpr uid_t nobody = 65534;
constexpr gid_t nogroup = 65534;

}

struct OrdinaryUser::Former {
    uid_t user = 0;
    gid_t group = 0;
    std::vector<gid_t> groups;
};

OrdinaryUser::OrdinaryUser()
{
    if (geteuid() != 0)
        return;
    auto former = std::make_unique<Former>();
    former->user = getuid();
    former->group = getgid();
    const int count = getgroups(0, nullptr);
    former->groups.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (count < 0 || getgroups(count, former->groups.data()) != count)
        return;
    m_former = std::move(former);
    // The saved ids stay the superuser's: they are the way back, and no permission test looks at them.
    if (setgroups(0, nullptr) != 0 || setresgid(nogroup, nogroup, 0) != 0
        || setresuid(nobody, nobody, 0) != 0)
        std::perror("OrdinaryUser: cannot give up the superuser's rights");
}

OrdinaryUser::~OrdinaryUser()
{
    if (!m_former)
        return;
    if (setresuid(m_former->user, 0, 0) != 0 || setresgid(m_former->group, 0, 0) != 0
        || setgroups(m_former->groups.size(), m_former->groups.data()) != 0) {
        std::perror("OrdinaryUser: cannot take the superuser's rights back");
        std::abort();
    }
}

bool OrdinaryUser::isOrdinary() const
{
    return getuid() != 0 && geteuid() != 0;
}
