// Standard output, buffered, with its failures remembered. One thread.
//
// Whoever reads it may close it early; what is written after that goes nowhere, and is no error. Any other
// failure (a full disk) is one, told by error().
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace slicewise {

class Output {
public:
    /// The descriptor is borrowed.
    explicit Output(int descriptor) : m_descriptor(descriptor) {}
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;
    /// Does not flush: whoever writes wants to know how that went.
    ~Output() = default;

    void write(std::string_view text)
    {
        m_buffer.append(text);
        if (m_buffer.size() >= kFull) {
            flush();
        }
    }
    void flush();

    /// Nothing written from now on can arrive.
    [[nodiscard]] bool closed() const { return m_closed; }
    /// The errno of what went wrong; 0 where nothing did or the reader had enough.
    [[nodiscard]] int error() const { return m_error; }

    // What RapidJSON asks of a stream.
    using Ch = char;
    void Put(char character) // NOLINT(readability-identifier-naming)
    {
        m_buffer.push_back(character);
        if (m_buffer.size() >= kFull) {
            flush();
        }
    }
    void Flush() {} // NOLINT(readability-identifier-naming): it comes after every value; ours is when full

private:
    static constexpr std::size_t kFull = std::size_t{64} * 1024;

    int m_descriptor;
    std::string m_buffer;
    bool m_closed = false;
    int m_error = 0;
};

} // namespace slicewise
