// SPDX-License-Identifier: Apache-2.0
//
// Replaces the default log appender while it lives, and keeps what the tool logs.
#pragma once

#include <vector>

#include "blocxx/LogAppender.hpp"

namespace KOVNS2::Testing {

class CapturedLog {
public:
    CapturedLog() : m_appender(new Appender(m_messages)) {
        blocxx::LogAppender::setDefaultLogAppender(m_appender);
    }
    ~CapturedLog() { blocxx::LogAppender::setDefaultLogAppender(blocxx::LogAppenderRef()); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    /// The texts logged at `level`, in order.
    blocxx::StringArray texts(blocxx::ELogLevel level) const {
        blocxx::StringArray found;
        for (const auto& message : m_messages) {
            if (message.level == level) {
                found.push_back(message.text);
            }
        }
        return found;
    }
    blocxx::StringArray errors() const { return texts(blocxx::ELogLevel::ERROR); }
    blocxx::StringArray debugLines() const { return texts(blocxx::ELogLevel::DEBUG); }
    /// All messages, with their components and source names.
    const std::vector<blocxx::LogMessage>& messages() const { return m_messages; }
    void clear() { m_messages.clear(); }

private:
    using Messages = std::vector<blocxx::LogMessage>;

    class Appender : public blocxx::LogAppender {
    public:
        explicit Appender(Messages& messages) : m_messages(messages) {}
        bool accepts(std::string_view component, blocxx::ELogLevel) const override {
            return component == "fennik" || component.starts_with("fennik.");
        }
        void append(const blocxx::LogMessage& message) override { m_messages.push_back(message); }

    private:
        Messages& m_messages;
    };

    Messages m_messages;
    blocxx::LogAppenderRef m_appender;
};

}  // namespace KOVNS2::Testing
