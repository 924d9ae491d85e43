#pragma once

#include "s3singleton.h"

// The record of the connection between a client and its ERP server. A program without one leaves it as
// constructed. Belongs to the main thread.
class s3Session final : public s3Singleton<s3Session>
{
public:
    // Whether s3DisplayClass treats codes beginning with "TAZ" like those of s3IsCodeA. False at first.
    [[nodiscard]] bool codeTestsEnabled() const { return m_codeTestsEnabled; }
    void setCodeTestsEnabled(bool enabled) { m_codeTestsEnabled = enabled; }

private:
    bool m_codeTestsEnabled = false;
};

// The process-wide session. Never null.
[[nodiscard]] inline s3Session *s3SessionInstance()
{
    return s3Session::singletonInstance();
}
