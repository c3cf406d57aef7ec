// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/process/Log.hpp"

#include <syslog.h>

#include <algorithm>

#include "blocxx/Format.hpp"
#include "blocxx/LogAppender.hpp"
#include "blocxx/Printable.hpp"

namespace OwCimomd {

using blocxx::ELogLevel;
using blocxx::LogAppender;
using blocxx::LogAppenderRef;

namespace {

constexpr const char* COMPONENT = "owcimomd";
/// By ELogLevel.
constexpr int PRIORITIES[] = {LOG_CRIT, LOG_ERR, LOG_INFO, LOG_DEBUG};
static_assert(static_cast<size_t>(ELogLevel::DEBUG) + 1 == std::size(PRIORITIES));

class SyslogAppender : public LogAppender {
public:
    explicit SyslogAppender(StringArray categories) : m_categories(std::move(categories)) {
        openlog(COMPONENT, LOG_PID | LOG_NDELAY, LOG_DAEMON);
    }
    ~SyslogAppender() override { closelog(); }

    bool accepts(std::string_view /*component*/, ELogLevel level) const override {
        return std::find(m_categories.begin(), m_categories.end(), blocxx::toString(level)) !=
               m_categories.end();
    }
    void append(const blocxx::LogMessage& message) override {
        syslog(PRIORITIES[static_cast<size_t>(message.level)], "%s",
               blocxx::printable(message.text).c_str());
    }

private:
    StringArray m_categories;
};

/// The categories of a level and of those that are graver; none when there is no such level.
StringArray categoriesFrom(const String& level) {
    StringArray categories;
    for (const ELogLevel each :
         {ELogLevel::FATAL, ELogLevel::ERROR, ELogLevel::INFO, ELogLevel::DEBUG}) {
        categories.emplace_back(blocxx::toString(each));
        if (blocxx::equalsIgnoreCase(categories.back(), level)) {
            return categories;
        }
    }
    return {};
}

LogAppenderRef standardLog(const StringArray& categories, bool foreground) {
    if (foreground) {
        return new blocxx::CerrAppender(LogAppender::ALL_COMPONENTS, categories, "owcimomd: %m");
    }
    return new SyslogAppender(categories);
}

}  // namespace

Log::Log(const Configuration& configuration, bool foreground)
    : m_file(configuration.get(Configuration::LOG_FILE, String())) {
    const String level = configuration.get(Configuration::LOG_LEVEL, "info");
    m_categories = categoriesFrom(level);
    const bool isUnknown = m_categories.empty();
    if (isUnknown) {
        m_categories = categoriesFrom("info");
    }
    LogAppender::setDefaultLogAppender(standardLog(m_categories, foreground));
    if (isUnknown) {
        reportError(blocxx::Format("there is no log level \"%1\"; the level is \"info\"", level));
    }
    if (m_file.empty()) {
        return;
    }
    try {
        openFile();
    } catch (const blocxx::Exception& e) {
        reportError(blocxx::Format("the log file is not used: %1", e.getMessage()));
    }
}

/// The new file replaces the old one only once it is open.
void Log::openFile() {
    LogAppender::setDefaultLogAppender(
        new blocxx::FileAppender(LogAppender::ALL_COMPONENTS, m_categories, m_file, "%d %p %m"));
}

void Log::reopen() noexcept {
    if (m_file.empty()) {
        return;
    }
    try {
        openFile();
        reportInfo("the log was opened again");
    } catch (const std::exception& e) {
        reportError(String("the log stays where it is: ") + e.what());
    }
}

void report(ELogLevel level, const String& message) noexcept {
    try {
        blocxx::Logger(COMPONENT).log(level, message);
    } catch (...) {  // NOLINT(bugprone-empty-catch): see the header
    }
}

}  // namespace OwCimomd
