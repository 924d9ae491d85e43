#pragma once

#include "s3singleton.h"

#include <QSet>

// A set of numbered flags that a host program or a test driver switches on.
//
// Filled before the work starts and read-only afterwards: no lock guards it.
class s3TestFlags
{
public:
    // Whether flag `number` is on. With no flag on at all, the usual case, no hashing takes place.
    [[nodiscard]] bool contains(qint32 number) const { return !m_flags.isEmpty() && lookUp(number); }

    // Whether no flag is on. Code that asks for several flags in a row asks this once before.
    [[nodiscard]] bool isEmpty() const { return m_flags.isEmpty(); }

    void insert(qint32 number) { m_flags.insert(number); }
    void remove(qint32 number) { m_flags.remove(number); }
    void clear() { m_flags.clear(); }

private:
    // Not inline, so that a test stays one load and one compare at its site.
    Q_NEVER_INLINE bool lookUp(qint32 number) const { return m_flags.contains(number); }

    QSet<qint32> m_flags;
};

// The flags of this process. Most of them switch on trace sites (see test/s3trace.h), a few change
// a behaviour; each is described where it is read.
class s3TestFlagsGUI final : public s3TestFlags, public s3Singleton<s3TestFlagsGUI>
{
};

// The process-wide flags, empty in an ordinary run. Never null. Inline, so that a silent trace site costs
// no call.
[[nodiscard]] inline s3TestFlagsGUI *s3TestFlagsInstance()
{
    return s3TestFlagsGUI::singletonInstance();
}
