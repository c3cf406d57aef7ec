// SPDX-License-Identifier: Apache-2.0
//
// The base of all exceptions: the place of the throw, a message, a numeric code and, if it wraps
// another exception, a copy of that one. Library code throws; only the outermost layer prints.
#pragma once

#include <exception>
#include <iosfwd>
#include <memory>
#include <new>

#include "blocxx/String.hpp"

namespace blocxx {

/// The place of a call, for functions that throw on behalf of their callers. Stands in for
/// std::source_location, which some of our compilers lack.
struct CallSite {
    const char* file;
    int line;

    /// When used as a default argument: the place where the function is called.
    static constexpr CallSite here(const char* file = __builtin_FILE(),
                                   int line = __builtin_LINE()) {
        return {file, line};
    }
};

class Exception : public std::exception {
public:
    static constexpr int UNKNOWN_ERROR_CODE = -1;
    static constexpr int UNKNOWN_SUBCLASS_ID = -1;

    /// Copies `message`, and `otherException` (through its clone()) when it is not null.
    Exception(const char* file, int line, const char* message, int errorCode = UNKNOWN_ERROR_CODE,
              const Exception* otherException = nullptr, int subClassId = UNKNOWN_SUBCLASS_ID);
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    ~Exception() override;

    /// The name of the exception's class, for people.
    virtual const char* type() const noexcept { return "Exception"; }
    /// The message alone.
    const char* getMessage() const noexcept;
    const char* getFile() const noexcept;
    int getLine() const noexcept;
    int getErrorCode() const noexcept { return m_errorCode; }
    int getSubClassId() const noexcept { return m_subClassId; }
    /// The exception that this one wraps, or null.
    const Exception* getOtherException() const noexcept;
    /// The message (std::exception).
    const char* what() const noexcept override { return getMessage(); }

    /// A copy that the caller owns; null when memory is short.
    virtual Exception* clone() const noexcept;
    /// Throws a copy of this exception with its dynamic type.
    [[noreturn]] virtual void rethrow() const;

private:
    // Shared so that copying an exception cannot throw.
    struct Text;
    std::shared_ptr<const Text> m_text;
    std::shared_ptr<const Exception> m_other;
    int m_line;
    int m_errorCode;
    int m_subClassId;
};

/// Writes "FILE: LINE TYPE: CODE: MESSAGE", and then a wrapped exception as " <EXCEPTION>". Leaves
/// out unknown parts (empty file, line 0, code -1).
std::ostream& operator<<(std::ostream& out, const Exception& e);

/// The text that operator<< writes.
String toString(const Exception& e);

namespace ExceptionDetail {
/// "MESSAGE: ERRNUM(TEXT)" with the system's text for the errno value.
String FormatMsg(std::string_view message, int errnum);
}  // namespace ExceptionDetail

/// The base of an exception class Self that adds something to Base: copies keep the type Self.
template <class Self, class Base = Exception>
class Cloneable : public Base {
public:
    using Base::Base;
    explicit Cloneable(const Base& base) : Base(base) {}

    Exception* clone() const noexcept override {
        try {
            return new (std::nothrow) Self(static_cast<const Self&>(*this));
        } catch (...) {
            return nullptr;
        }
    }
    [[noreturn]] void rethrow() const override { throw Self(static_cast<const Self&>(*this)); }
};

/// Declares NAMEException, derived from BASE, with BASE's constructor arguments.
// NOLINTBEGIN(bugprone-macro-parentheses): the name of a class takes none
#define BLOCXX_DECLARE_EXCEPTION2(NAME, BASE)                                    \
    class NAME##Exception : public ::blocxx::Cloneable<NAME##Exception, BASE> {  \
    public:                                                                      \
        using ::blocxx::Cloneable<NAME##Exception, BASE>::Cloneable;             \
        const char* type() const noexcept override { return #NAME "Exception"; } \
    };
// NOLINTEND(bugprone-macro-parentheses)
#define BLOCXX_DECLARE_EXCEPTION(NAME) BLOCXX_DECLARE_EXCEPTION2(NAME, ::blocxx::Exception)

/// Throws TYPE with MESSAGE (text or String) and the current file and line.
#define BLOCXX_THROW(TYPE, MESSAGE) \
    throw TYPE(__FILE__, __LINE__, ::blocxx::String(MESSAGE).c_str())
/// The same with a numeric error code.
#define BLOCXX_THROW_ERR(TYPE, MESSAGE, CODE) \
    throw TYPE(__FILE__, __LINE__, ::blocxx::String(MESSAGE).c_str(), (CODE))
/// The same after a failed system call: FormatMsg adds errno to the message, and the code is errno.
/// MESSAGE may change errno.
#define BLOCXX_THROW_ERRNO(TYPE, MESSAGE)                                                         \
    do {                                                                                          \
        const int blocxxErrno = errno;                                                            \
        throw TYPE(                                                                               \
            __FILE__, __LINE__,                                                                   \
            ::blocxx::ExceptionDetail::FormatMsg(::blocxx::String(MESSAGE), blocxxErrno).c_str(), \
            blocxxErrno);                                                                         \
    } while (false)

BLOCXX_DECLARE_EXCEPTION(OutOfBounds)
BLOCXX_DECLARE_EXCEPTION(IO)
/// Has a message of several lines, in which no text from others can end a line.
BLOCXX_DECLARE_EXCEPTION(Lines)

}  // namespace blocxx
