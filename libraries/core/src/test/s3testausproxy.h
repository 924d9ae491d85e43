#pragma once

#include "s3singleton.h"

#include <QObject>
#include <QString>

#include <functional>

// The developers' trace. Trace sites reach it through s3Trace (test/s3trace.h), which stays silent
// unless the site's flag is on.
class s3TestausProxy final : public QObject, public s3Singleton<s3TestausProxy>
{
    Q_OBJECT

public:
    using Callback = std::function<void(const QString &text, bool endLine)>;

    // The process-wide proxy, never null. Needs a QCoreApplication.
    [[nodiscard]] static s3TestausProxy *instance();

    // Hands `text` to every output that is switched on; `endLine` says that it closes a line.
    void print(const QString &text, bool endLine);

    // Installs a receiver of all texts; null removes it.
    void setCallback(Callback callback);

private:
    Callback m_callback;
};
