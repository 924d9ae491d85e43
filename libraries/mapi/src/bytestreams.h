#pragma once

#include "gmime.h"

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace mapi
{

// Where the bytes of a part come from. Called from inside GMime, so nothing here throws: an implementation
// remembers its failure and its owner asks for it afterwards.
class ByteSource
{
public:
    virtual ~ByteSource() = default;

    // Reads up to `size` bytes. The number read, 0 at the end, -1 after a failure.
    virtual ssize_t read(char *data, std::size_t size) noexcept = 0;
    // True at the end, and for good after a failure.
    [[nodiscard]] virtual bool atEnd() const noexcept = 0;
};

// A text in memory, which must outlive the source.
class TextSource final : public ByteSource
{
public:
    explicit TextSource(std::string_view text) noexcept : m_rest(text) { }

    ssize_t read(char *data, std::size_t size) noexcept override;
    [[nodiscard]] bool atEnd() const noexcept override { return m_rest.empty(); }

private:
    std::string_view m_rest;
};

// Writes to a descriptor that it does not own, in large pieces. After the first failure it takes nothing
// more.
class FileSink
{
public:
    explicit FileSink(int descriptor);

    bool write(const char *data, std::size_t size) noexcept;
    // Writes what is still held back.
    bool flush() noexcept;
    // The errno of the first failed write, 0 for none.
    [[nodiscard]] int error() const noexcept { return m_error; }

private:
    int m_descriptor;
    int m_error = 0;
    std::string m_buffer; // never grows beyond what the constructor reserves
};

// GMime streams over the two; the argument must outlive the stream. They go one way, once, from start to
// end, which is all that writing a message needs.
[[nodiscard]] GObjectPtr<GMimeStream> streamFrom(ByteSource &source);
[[nodiscard]] GObjectPtr<GMimeStream> streamInto(FileSink &sink);

}
