// SPDX-License-Identifier: Apache-2.0
#include "blocxx/CmdLineParser.hpp"

#include <algorithm>
#include <deque>
#include <span>

namespace blocxx {

namespace {

using Option = CmdLineParser::Option;

std::span<const Option> rowsOf(const Option* options) {
    size_t count = 0;
    while (options[count].longopt != nullptr || options[count].shortopt != 0) {
        ++count;
    }
    return {options, count};
}

bool takesArgument(const Option& row) {
    return row.argtype == CmdLineParser::E_REQUIRED_ARG;
}

[[noreturn]] void failInvalid(const String& word) {
    BLOCXX_THROW_ERR(CmdLineParserException, word, CmdLineParser::E_INVALID_OPTION);
}

/// Takes words from the front and collects the values of options.
class WordReader {
public:
    WordReader(std::span<const Option> rows, std::deque<String>& words,
               std::map<int, StringArray>& values)
        : m_rows(rows), m_words(words), m_values(values) {}

    /// Reads one option and the argument that it takes. `word` begins with "--" and is longer.
    void readLong(const String& word) {
        const size_t equals = word.find('=');
        const String name = word.substr(2, equals - 2);
        const auto row = std::ranges::find_if(
            m_rows, [&](const Option& r) { return r.longopt != nullptr && name == r.longopt; });
        if (row == m_rows.end() || (equals != String::npos && !takesArgument(*row))) {
            failInvalid(word);
        }
        StringArray& values = m_values[row->id];
        if (equals != String::npos) {
            values.push_back(word.substr(equals + 1));
        } else if (takesArgument(*row)) {
            values.push_back(takeArgument(word));
        }
    }

    /// Reads "-abc": "-a -b -c", or "-a" with the argument "bc" when it takes one.
    void readShort(const String& word) {
        for (size_t i = 1; i < word.size(); ++i) {
            const String name{'-', word[i]};
            const auto row = std::ranges::find(m_rows, word[i], &Option::shortopt);
            if (row == m_rows.end()) {
                failInvalid(name);
            }
            StringArray& values = m_values[row->id];
            if (takesArgument(*row)) {
                const bool adjacent = i + 1 < word.size();
                values.push_back(adjacent ? word.substr(i + 1) : takeArgument(name));
                return;
            }
        }
    }

private:
    String takeArgument(const String& option) {
        if (m_words.empty()) {
            BLOCXX_THROW_ERR(CmdLineParserException, option, CmdLineParser::E_MISSING_ARGUMENT);
        }
        String word = std::move(m_words.front());
        m_words.pop_front();
        return word;
    }

    std::span<const Option> m_rows;
    std::deque<String>& m_words;
    std::map<int, StringArray>& m_values;
};

}  // namespace

CmdLineParser::CmdLineParser(int argc, const char* const* argv, const Option* options,
                             EAllowNonOptionArgsFlag allowNonOptionArgs) {
    const std::span<const Option> rows = rowsOf(options);
    for (const Option& row : rows) {
        if (row.defaultValue != nullptr) {
            m_defaults.emplace(row.id, row.defaultValue);
        }
    }
    std::deque<String> words(argv + std::min(argc, 1), argv + argc);
    WordReader reader(rows, words, m_values);
    bool hasOptions = true;
    while (!words.empty()) {
        const String word = std::move(words.front());
        words.pop_front();
        if (hasOptions && word == "--") {
            hasOptions = false;
        } else if (hasOptions && word.starts_with("--")) {
            reader.readLong(word);
        } else if (hasOptions && word.size() > 1 && word[0] == '-') {
            reader.readShort(word);
        } else {
            m_nonOptionArgs.push_back(word);
        }
    }
    if (allowNonOptionArgs != E_NON_OPTION_ARGS_ALLOWED && !m_nonOptionArgs.empty()) {
        BLOCXX_THROW_ERR(CmdLineParserException, m_nonOptionArgs.front(), E_INVALID_NON_OPTION_ARG);
    }
}

bool CmdLineParser::isSet(int id) const {
    return m_values.contains(id);
}

String CmdLineParser::getOptionValue(int id, const String& defaultValue) const {
    if (const auto found = m_values.find(id); found != m_values.end() && !found->second.empty()) {
        return found->second.back();
    }
    const auto ofTable = m_defaults.find(id);
    return ofTable != m_defaults.end() ? ofTable->second : defaultValue;
}

StringArray CmdLineParser::getOptionValueList(int id) const {
    const auto found = m_values.find(id);
    return found != m_values.end() ? found->second : StringArray();
}

String CmdLineParser::mustGetOptionValue(int id, const char* exceptionText) const {
    if (!isSet(id) && !m_defaults.contains(id)) {
        BLOCXX_THROW_ERR(CmdLineParserException, exceptionText, E_MISSING_OPTION);
    }
    return getOptionValue(id);
}

StringArray CmdLineParser::mustGetOptionValueList(int id, const char* exceptionText) const {
    if (!isSet(id)) {
        BLOCXX_THROW_ERR(CmdLineParserException, exceptionText, E_MISSING_OPTION);
    }
    return getOptionValueList(id);
}

}  // namespace blocxx
