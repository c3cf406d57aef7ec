// SPDX-License-Identifier: Apache-2.0
//
// Message layout over spdlog's pattern formatter. This is the only unit that includes spdlog, which
// costs build time. Messages are rendered into text here and written in one call by the appenders.
#include "blocxx/LogOutput.hpp"

#include <spdlog/pattern_formatter.h>

#include <chrono>

#include "blocxx/Printable.hpp"

namespace blocxx {

namespace {

const auto g_start = std::chrono::steady_clock::now();

// Flags of our own in spdlog's pattern language, on letters that it does not use.
constexpr char CATEGORY_FLAG = 'k';
constexpr char ELAPSED_FLAG = 'q';

/// A flag whose text is `Text(message)`, padded as the pattern says.
template <String (*Text)(const spdlog::details::log_msg&)>
class TextFlag final : public spdlog::custom_flag_formatter {
public:
    void format(const spdlog::details::log_msg& message, const std::tm&,
                spdlog::memory_buf_t& out) override {
        const String text = Text(message);
        const spdlog::details::scoped_padder padder(text.size(), padinfo_, out);
        out.append(text.data(), text.data() + text.size());
    }
    std::unique_ptr<custom_flag_formatter> clone() const override {
        return std::make_unique<TextFlag>();
    }
};

struct LevelPair {
    ELogLevel ours;
    spdlog::level::level_enum theirs;
};
constexpr LevelPair LEVELS[] = {{ELogLevel::FATAL, spdlog::level::critical},
                                {ELogLevel::ERROR, spdlog::level::err},
                                {ELogLevel::INFO, spdlog::level::info},
                                {ELogLevel::DEBUG, spdlog::level::debug}};

spdlog::level::level_enum theirLevel(ELogLevel level) {
    for (const LevelPair& pair : LEVELS) {
        if (pair.ours == level) {
            return pair.theirs;
        }
    }
    return spdlog::level::critical;
}

String categoryText(const spdlog::details::log_msg& message) {
    for (const LevelPair& pair : LEVELS) {
        if (pair.theirs == message.level) {
            return toString(pair.ours);
        }
    }
    return {};
}

String elapsedText(const spdlog::details::log_msg&) {
    const auto elapsed = std::chrono::steady_clock::now() - g_start;
    return std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
}

/// What spdlog's pattern language says for one of our letters; a letter that is not ours stands for
/// itself.
String translateFlag(char letter, std::string_view padding) {
    const auto flag = [&](char theirs) { return "%" + String(padding) + theirs; };
    switch (letter) {
        case 'm':
            return flag('v');
        case 'r':
            return flag(ELAPSED_FLAG);
        case 't':
            return flag('t');
        case 'p':
            return flag(CATEGORY_FLAG);
        case 'c':
            return flag('n');
        case 'F':
            return flag('g');
        case 'L':
            return flag('#');
        case 'd':
            return "%Y-%m-%d %H:%M:%S.%e";
        case 'n':
            return "\n";
        case '%':
            return "%%";
        default:
            return "%%" + String(padding) + letter;
    }
}

String translate(std::string_view format) {
    String pattern;
    for (size_t i = 0; i < format.size(); ++i) {
        const size_t letter = format.find_first_not_of("-=0123456789", i + 1);
        if (format[i] != '%') {
            pattern += format[i];
        } else if (letter == format.npos) {
            pattern += "%%";
        } else {
            pattern += translateFlag(format[letter], format.substr(i + 1, letter - i - 1));
            i = letter;
        }
    }
    if (pattern.ends_with('\n')) {
        pattern.pop_back();  // every message gets exactly one end of line
    }
    return pattern;
}

spdlog::pattern_formatter::custom_flags ownFlags() {
    spdlog::pattern_formatter::custom_flags flags;
    flags[CATEGORY_FLAG] = std::make_unique<TextFlag<categoryText>>();
    flags[ELAPSED_FLAG] = std::make_unique<TextFlag<elapsedText>>();
    return flags;
}

}  // namespace

struct LogOutput::Impl {
    spdlog::pattern_formatter formatter;
};

LogOutput::LogOutput(const String& messageFormat)
    : m_impl(new Impl{spdlog::pattern_formatter(
          translate(messageFormat), spdlog::pattern_time_type::local, "\n", ownFlags())}) {}

LogOutput::~LogOutput() = default;

String LogOutput::render(const LogMessage& message) const {
    const String text = printable(message.text);
    const spdlog::details::log_msg theirs(spdlog::source_loc{message.file, message.line, ""},
                                          message.component, theirLevel(message.level), text);
    spdlog::memory_buf_t buffer;
    m_impl->formatter.format(theirs, buffer);
    return String(buffer.data(), buffer.size());
}

}  // namespace blocxx
