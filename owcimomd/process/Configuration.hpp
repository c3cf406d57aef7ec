// SPDX-License-Identifier: Apache-2.0
//
// The daemon's configuration: "key = value" lines, and comments that begin with "#" or ";". One
// product's bad file must not keep the daemon from starting, so nothing in a file is a failure: a
// line that cannot be read is skipped, and a complaint names the file and the line.
#pragma once

#include <map>
#include <set>

#include "blocxx/String.hpp"

namespace OwCimomd {

using blocxx::String;
using blocxx::StringArray;

class Configuration {
public:
    // The keys that the daemon knows. Others may belong to products, in their drop-ins; elsewhere,
    // and with the daemon's prefix, they are a complaint.
    static constexpr const char* ALLOWED_USERS = "owcimomd.allowed_users";
    static constexpr const char* DATADIR = "owcimomd.datadir";
    static constexpr const char* LOG_LEVEL = "owcimomd.log_level";
    static constexpr const char* LOG_FILE = "owcimomd.log_file";
    static constexpr const char* MAX_REQUEST_SIZE = "owcimomd.max_request_size";
    static constexpr const char* HTTP_PORT = "owcimomd.http_port";
    static constexpr const char* HTTP_ADDRESS = "owcimomd.http_address";
    static constexpr const char* TLS_CERTIFICATE = "owcimomd.tls_certificate";
    static constexpr const char* TLS_KEY = "owcimomd.tls_key";

    static constexpr size_t LEAST_REQUEST_SIZE = size_t(1) << 20U;
    static constexpr size_t DEFAULT_REQUEST_SIZE = size_t(64) << 20U;
    static constexpr size_t LARGEST_REQUEST_SIZE = size_t(512) << 20U;

    /// A larger file is skipped as a whole.
    static constexpr size_t MAX_FILE_SIZE = size_t(1) << 20U;

    /// Reads `file` and then the files of `dropInDirectory` whose names end in ".conf" and do not
    /// begin with a dot, in the order of their names. A drop-in directory that is not there is
    /// empty.
    void readFiles(const String& file, const String& dropInDirectory);
    /// Drop-ins belong to products. A product has no say in where the repository is and who may
    /// reach it over the network, so those keys are skipped in a drop-in.
    enum class Origin { MAIN_FILE, DROP_IN };
    /// Adds the settings in `text`; `name` is for complaints. The last value of a key counts; the
    /// allowed users of all files are added up.
    void read(std::string_view text, const String& name, Origin origin = Origin::MAIN_FILE);

    String get(const String& key, const String& defaultValue) const;
    const std::set<String>& allowedUsers() const noexcept { return m_allowedUsers; }
    /// In bytes. A value that is not a valid size is a complaint, and the default counts.
    size_t maxRequestSize();
    /// 0 when nobody is to be served over HTTP. A value that is no port is a complaint.
    uint16_t httpPort();
    /// Adds to the complaints, of which there is a limited number.
    void complain(String complaint);
    const StringArray& complaints() const noexcept { return m_complaints; }

private:
    void readFile(const String& path, Origin origin);
    void readLine(std::string_view line, const String& name, size_t number, Origin origin);
    void addUsers(std::string_view names);

    std::map<String, String> m_values;
    std::set<String> m_allowedUsers;
    StringArray m_complaints;
};

}  // namespace OwCimomd
