// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Exception.hpp"

#include <sstream>
#include <system_error>

namespace blocxx {

struct Exception::Text {
    String file;
    String message;
};

Exception::Exception(const char* file, int line, const char* message, int errorCode,
                     const Exception* otherException, int subClassId)
    // NOLINTNEXTLINE(bugprone-throw-keyword-missing): pointers, not exceptions
    : m_text(std::make_shared<Text>(Text{file ? file : "", message ? message : ""})),
      // NOLINTNEXTLINE(bugprone-throw-keyword-missing)
      m_other(otherException ? otherException->clone() : nullptr),
      m_line(line),
      m_errorCode(errorCode),
      m_subClassId(subClassId) {}

Exception::~Exception() = default;

const char* Exception::getMessage() const noexcept {
    return m_text->message.c_str();
}
const char* Exception::getFile() const noexcept {
    return m_text->file.c_str();
}
int Exception::getLine() const noexcept {
    return m_line;
}
const Exception* Exception::getOtherException() const noexcept {
    return m_other.get();
}

Exception* Exception::clone() const noexcept {
    return new (std::nothrow) Exception(*this);
}

void Exception::rethrow() const {
    throw Exception(*this);
}

std::ostream& operator<<(std::ostream& out, const Exception& e) {
    if (*e.getFile() != '\0') {
        out << e.getFile() << ": ";
    }
    if (e.getLine() != 0) {
        out << e.getLine() << ' ';
    }
    out << e.type() << ": ";
    if (e.getErrorCode() != Exception::UNKNOWN_ERROR_CODE) {
        out << e.getErrorCode() << ": ";
    }
    out << e.getMessage();
    if (const Exception* other = e.getOtherException()) {
        out << " <" << *other << '>';
    }
    return out;
}

String toString(const Exception& e) {
    std::ostringstream out;
    out << e;
    return std::move(out).str();
}

String ExceptionDetail::FormatMsg(std::string_view message, int errnum) {
    return String(message) + ": " + std::to_string(errnum) + "(" +
           std::system_category().message(errnum) + ")";
}

}  // namespace blocxx
