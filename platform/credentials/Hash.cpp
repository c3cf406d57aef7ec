// SPDX-License-Identifier: Apache-2.0
#include "credentials/Hash.hpp"

#include <crypt.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "blocxx/Format.hpp"
#include "blocxx/Utf8.hpp"

namespace Credentials {

namespace {

// The library's default today. It is fixed here: with a later default, old and new hashes would
// differ in cost, and the time of an answer would tell them apart.
constexpr unsigned long COST = 5;
// Method and cost as a hash begins with them; then come the salt, a "$" and the hash itself.
constexpr std::string_view METHOD = "$y$j9T$";
constexpr size_t SALT_SIZE = 22;  // 128 bits, 6 a character
constexpr size_t HASH_SIZE = 43;  // 256 bits
constexpr std::string_view DIGITS =
    "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
// The last character of a salt holds two bits only; the library refuses others.
constexpr std::string_view LAST_DIGITS = DIGITS.substr(0, 4);

// Stands for the hash of a user who has none. No password is known whose hash it is.
constexpr const char* NOBODYS_HASH =
    "$y$j9T$......................$...........................................";

struct Freed {
    void operator()(char* text) const noexcept { std::free(text); }
};

/// What crypt_ra() works in, which holds the password.
class Workspace {
public:
    Workspace() = default;
    ~Workspace() {
        if (m_data != nullptr) {
            ::explicit_bzero(m_data, static_cast<size_t>(m_size));
            std::free(m_data);
        }
    }
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    /// `setting` is a whole hash, or what precedes the hash itself. Throws PasswordException.
    String hash(const char* password, const char* setting) {
        const char* result = ::crypt_ra(password, setting, &m_data, &m_size);
        if (result == nullptr) {
            BLOCXX_THROW_ERRNO(PasswordException, "cannot hash a password");
        }
        return result;
    }

private:
    void* m_data = nullptr;
    int m_size = 0;
};

bool consistsOf(std::string_view text, std::string_view characters) noexcept {
    return text.find_first_not_of(characters) == std::string_view::npos;
}

/// Null for a password that can be used.
const char* problemOf(const String& password) noexcept {
    const auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7f; };
    if (password.empty()) {
        return "it is empty";
    }
    if (password.size() > MAX_PASSWORD_SIZE) {
        static_assert(MAX_PASSWORD_SIZE == 256);
        return "it is longer than 256 bytes";
    }
    if (std::any_of(password.begin(), password.end(), isControl)) {
        return "there is a control character in it";
    }
    return blocxx::Utf8::findInvalid(password) == String::npos ? nullptr : "it is not UTF-8";
}

/// In a time that depends on the sizes only.
bool isEqual(std::string_view left, std::string_view right) noexcept {
    if (left.size() != right.size()) {
        return false;
    }
    volatile unsigned char difference = 0;
    for (size_t i = 0; i < left.size(); ++i) {
        difference = difference | static_cast<unsigned char>(left[i] ^ right[i]);
    }
    return difference == 0;
}

}  // namespace

String hashPassword(const String& password) {
    if (const char* problem = problemOf(password)) {
        BLOCXX_THROW(PasswordException, blocxx::Format("the password cannot be used: %1", problem));
    }
    const String method(METHOD.substr(0, METHOD.find('$', 1) + 1));
    const std::unique_ptr<char, Freed> setting(
        ::crypt_gensalt_ra(method.c_str(), COST, nullptr, 0));
    if (!setting) {
        BLOCXX_THROW_ERRNO(PasswordException, "cannot make a salt for a password");
    }
    String hash = Workspace().hash(password.c_str(), setting.get());
    if (!isHash(hash)) {
        BLOCXX_THROW(PasswordException,
                     "the system's library has not hashed a password as it was asked to");
    }
    return hash;
}

bool isHash(std::string_view text) noexcept {
    constexpr size_t SALT = METHOD.size();
    constexpr size_t DOLLAR = SALT + SALT_SIZE;
    constexpr size_t HASH = DOLLAR + 1;
    return text.size() == HASH + HASH_SIZE && text.starts_with(METHOD) && text[DOLLAR] == '$' &&
           consistsOf(text.substr(SALT, SALT_SIZE), DIGITS) &&
           consistsOf(text.substr(DOLLAR - 1, 1), LAST_DIGITS) &&
           consistsOf(text.substr(HASH), DIGITS);
}

bool matches(const String* hash, const String& password) {
    const bool isComparable = hash != nullptr && isHash(*hash) && problemOf(password) == nullptr;
    const char* const expected = isComparable ? hash->c_str() : NOBODYS_HASH;
    const String actual = Workspace().hash(isComparable ? password.c_str() : "", expected);
    return isEqual(actual, expected) && isComparable;
}

void wipe(String& text) noexcept {
    text.resize(text.capacity());
    ::explicit_bzero(text.data(), text.size());
    text.clear();
}

}  // namespace Credentials
