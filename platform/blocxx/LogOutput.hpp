// SPDX-License-Identifier: Apache-2.0
//
// Private to the appenders: the layout of log messages.
#pragma once

#include <memory>

#include "blocxx/Logger.hpp"

namespace blocxx {

class LogOutput {
public:
    /// `messageFormat` as LogAppender.hpp describes it.
    explicit LogOutput(const String& messageFormat);
    ~LogOutput();

    /// The message, printable, in the format, with its end of line.
    String render(const LogMessage& message) const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace blocxx
