#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace TestSupport {

// What the log stream (std::clog) receives while it lives.
class ClogCapture
{
public:
    ClogCapture() : m_old(std::clog.rdbuf(m_buffer.rdbuf())) {}
    ~ClogCapture() { std::clog.rdbuf(m_old); }
    ClogCapture(const ClogCapture &) = delete;
    ClogCapture &operator=(const ClogCapture &) = delete;
    std::string text() const { return m_buffer.str(); }

private:
    std::ostringstream m_buffer;
    std::streambuf *m_old;
};

} // namespace TestSupport
