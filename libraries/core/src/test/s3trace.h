#pragma once

#include "s3testflags.h"
#include "test/s3testausproxy.h"
#include "test/s3tracetext.h"

#include <QCoreApplication>

// A trace site without a flag of its own: prints one line whenever an application object exists and the
// trace has an output. `buildText` is called only with an application and gives a QString or an
// s3TraceText.
template <class BuildText> inline void s3TraceAlways(BuildText &&buildText)
{
    if (QCoreApplication::instance() == nullptr)
        return;
    const auto text = buildText();
    if constexpr (requires { text.text(); })
        s3TestausProxy::instance()->print(text.text(), true);
    else
        s3TestausProxy::instance()->print(text, true);
}

// The part of a trace site that runs when some flag is on. Out of the way of the code around the site.
template <class BuildText>
[[gnu::noinline, gnu::cold]] void s3TraceUnderFlag(qint32 flag, BuildText &buildText)
{
    if (s3TestFlagsInstance()->contains(flag))
        s3TraceAlways(buildText);
}

// One trace site: prints one line when the test flag `flag` is on and an application object exists.
// `buildText` is called only then and gives a QString or an s3TraceText, so a silent site builds no
// string and costs one read and one emptiness test:
//
//     s3Trace(226, [&] { return s3TraceText(u"s3Dir::setCurrent"_s).argument(u"path"_s, path); });
template <class BuildText> inline void s3Trace(qint32 flag, BuildText &&buildText)
{
    if (!s3TestFlagsInstance()->isEmpty()) [[unlikely]]
        s3TraceUnderFlag(flag, buildText);
}
