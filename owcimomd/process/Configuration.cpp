// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/process/Configuration.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr std::string_view BLANKS = " \t\r\v\f";
/// A file of nothing but mistakes must not fill the log, and neither must a directory of them.
constexpr size_t MAX_COMPLAINTS = 100;

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

bool isKey(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '.' || c == '-';
    });
}

/// Why a drop-in may not set the key; null when it may.
const char* refusalInDropIn(std::string_view key) {
    constexpr std::string_view WINDOW[] = {Configuration::HTTP_PORT, Configuration::HTTP_ADDRESS,
                                           Configuration::TLS_CERTIFICATE, Configuration::TLS_KEY};
    if (key == Configuration::DATADIR) {
        return "only the main file says where the repository is";
    }
    return std::find(std::begin(WINDOW), std::end(WINDOW), key) != std::end(WINDOW)
               ? "only the main file says who is served over HTTP"
               : nullptr;
}

bool isKnown(std::string_view key) {
    constexpr std::string_view KEYS[] = {Configuration::ALLOWED_USERS, Configuration::LOG_LEVEL,
                                         Configuration::LOG_FILE, Configuration::MAX_REQUEST_SIZE};
    return std::find(std::begin(KEYS), std::end(KEYS), key) != std::end(KEYS) ||
           refusalInDropIn(key) != nullptr;
}

/// Products keep settings of their own in their drop-ins. The main file and this prefix are the
/// daemon's.
bool isMeantForDaemon(std::string_view key, Configuration::Origin origin) {
    constexpr std::string_view PREFIX = "owcimomd.";
    return origin == Configuration::Origin::MAIN_FILE ||
           blocxx::equalsIgnoreCase(key.substr(0, PREFIX.size()), PREFIX);
}

bool isPrintable(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        return c == '\t' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f);
    });
}

/// The content of a regular file; otherwise why there is none.
bool slurp(const String& path, String& content, String& reason) {
    // Opening must not wait for the other end of a fifo.
    blocxx::File file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status {};
    if (!file || ::fstat(file.getFileDescriptor(), &status) != 0) {
        reason = std::strerror(errno);
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        reason = "it is not a regular file";
        return false;
    }
    if (blocxx::FileSystem::readAll(file, content, Configuration::MAX_FILE_SIZE)) {
        return true;
    }
    reason = errno == EFBIG
                 ? String(Format("it is larger than %1 bytes", Configuration::MAX_FILE_SIZE))
                 : String(std::strerror(errno));
    return false;
}

}  // namespace

void Configuration::complain(String complaint) {
    if (m_complaints.size() < MAX_COMPLAINTS) {
        m_complaints.push_back(std::move(complaint));
    } else if (m_complaints.size() == MAX_COMPLAINTS) {
        m_complaints.emplace_back("there are more files and lines that cannot be read");
    }
}

void Configuration::addUsers(std::string_view names) {
    for (String& name : blocxx::tokenize(names, " ,\t\r\n\v\f")) {
        m_allowedUsers.insert(std::move(name));
    }
}

void Configuration::readLine(std::string_view line, const String& name, size_t number,
                             Origin origin) {
    line = trimmed(line);
    if (line.empty() || line.front() == '#' || line.front() == ';') {
        return;
    }
    const auto skip = [&](const char* what) {
        complain(Format("%1:%2: %3; the line is left out", name, number, what));
    };
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return skip("there is no \"=\"");
    }
    const std::string_view key = trimmed(line.substr(0, equals));
    const std::string_view value = trimmed(line.substr(equals + 1));
    if (!isKey(key)) {
        return skip("what stands before \"=\" is not a key");
    }
    if (!isPrintable(value)) {
        return skip("there is a control character in the value");
    }
    if (const char* refusal = refusalInDropIn(key);
        refusal != nullptr && origin == Origin::DROP_IN) {
        return skip(refusal);
    }
    if (!isKnown(key) && isMeantForDaemon(key, origin)) {
        complain(Format("%1:%2: there is no key \"%3\"", name, number, key));
    }
    if (key == ALLOWED_USERS) {
        addUsers(value);
    } else {
        m_values.insert_or_assign(String(key), String(value));
    }
}

void Configuration::read(std::string_view text, const String& name, Origin origin) {
    size_t number = 0;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        readLine(text.substr(0, end), name, ++number, origin);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

void Configuration::readFile(const String& path, Origin origin) {
    String content;
    String reason;
    if (slurp(path, content, reason)) {
        read(content, path, origin);
    } else {
        complain(Format("the configuration file \"%1\" cannot be read: %2; it is left out", path,
                        reason));
    }
}

void Configuration::readFiles(const String& file, const String& dropInDirectory) {
    readFile(file, Origin::MAIN_FILE);
    StringArray names;
    std::error_code failure;
    for (std::filesystem::directory_iterator it(dropInDirectory, failure), end;
         !failure && it != end; it.increment(failure)) {
        const String name = it->path().filename().string();
        if (name.ends_with(".conf") && !name.starts_with(".")) {
            names.push_back(name);
        }
    }
    if (failure && failure != std::errc::no_such_file_or_directory) {
        complain(Format("the directory \"%1\" cannot be read: %2; it is left out", dropInDirectory,
                        failure.message()));
    }
    std::sort(names.begin(), names.end());
    for (const String& name : names) {
        readFile(blocxx::Format("%1/%2", dropInDirectory, name), Origin::DROP_IN);
    }
}

size_t Configuration::maxRequestSize() {
    const String text = get(MAX_REQUEST_SIZE, std::to_string(DEFAULT_REQUEST_SIZE));
    size_t size = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
    if (error == std::errc() && end == text.data() + text.size() && size >= LEAST_REQUEST_SIZE &&
        size <= LARGEST_REQUEST_SIZE) {
        return size;
    }
    m_complaints.push_back(Format("\"%1\" as %2 is not a number of bytes from %3 to %4; it is %5",
                                  text, MAX_REQUEST_SIZE, LEAST_REQUEST_SIZE, LARGEST_REQUEST_SIZE,
                                  DEFAULT_REQUEST_SIZE));
    return DEFAULT_REQUEST_SIZE;
}

uint16_t Configuration::httpPort() {
    const String text = get(HTTP_PORT, "0");
    uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error == std::errc() && end == text.data() + text.size()) {
        return port;
    }
    complain(Format("\"%1\" as %2 is not a port from 1 to 65535; nobody is served over HTTP", text,
                    HTTP_PORT));
    return 0;
}

String Configuration::get(const String& key, const String& defaultValue) const {
    const auto found = m_values.find(key);
    return found == m_values.end() || found->second.empty() ? defaultValue : found->second;
}

}  // namespace OwCimomd
