// SPDX-License-Identifier: Apache-2.0
//
// Private to the appenders: writing whole messages to a descriptor and to a log file.
#pragma once

#include "blocxx/File.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/String.hpp"

namespace blocxx {

/// Writes all of `text`; false with errno set when it cannot.
[[nodiscard]] bool writeAll(int fd, std::string_view text) noexcept;

/// A file that grows at its end up to a limit and then starts afresh, the old ones being kept under
/// the names NAME.1 (the youngest) to NAME.<backups>. Only a regular file has a limit.
class LogFile {
public:
    /// `limit` in bytes, 0 for none. Throws LoggerException, naming the file.
    LogFile(String name, size_t limit, unsigned backups, FileAppender::EOpening opening);
    /// Throws LoggerException, naming the file.
    void append(std::string_view text);

private:
    void open();
    void startAfresh();

    String m_name;
    size_t m_limit;
    unsigned m_backups;
    FileAppender::EOpening m_opening;
    size_t m_size = 0;
    File m_file;
};

}  // namespace blocxx
