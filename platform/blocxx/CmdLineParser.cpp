// SPDX-License-Identifier: Apache-2.0
//
// The command line over Boost.Program_options. Boost keeps the description of the options and
// checks what is read against it. How words become options is decided here: Boost's own styles
// refuse
// "--name=" and a value that reads like an option of the table, and take "--h" for "-h".
#include "blocxx/CmdLineParser.hpp"

#include <algorithm>
#include <boost/program_options/errors.hpp>
#include <boost/program_options/options_description.hpp>
#include <boost/program_options/parsers.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <deque>
#include <span>

namespace blocxx {

namespace po = boost::program_options;

namespace {

using Option = CmdLineParser::Option;

std::span<const Option> rowsOf(const Option* options) {
    size_t count = 0;
    while (options[count].longopt != nullptr || options[count].shortopt != 0) {
        ++count;
    }
    return {options, count};
}

/// The name under which Boost knows a row.
String keyOf(const Option& row) {
    return row.longopt != nullptr ? String(row.longopt) : String{'-', row.shortopt};
}

po::options_description describe(std::span<const Option> rows) {
    po::options_description description;
    for (const Option& row : rows) {
        String names = row.longopt != nullptr ? row.longopt : "";
        if (row.shortopt != 0) {
            names += String{',', row.shortopt};
        }
        if (row.argtype == CmdLineParser::E_REQUIRED_ARG) {
            description.add_options()(names.c_str(), po::value<StringArray>(), "");
        } else {
            description.add_options()(names.c_str(), "");
        }
    }
    return description;
}

/// Turns words into options, consuming them from the front.
class WordReader {
public:
    WordReader(std::span<const Option> rows, std::vector<String>& words)
        : m_rows(rows), m_words(words.begin(), words.end()) {
        words.clear();
    }

    std::vector<po::option> readAll() {
        while (!m_words.empty()) {
            readOne(takeWord());
        }
        return std::move(m_options);
    }

private:
    void readOne(const String& word) {
        if (word == "--") {
            while (!m_words.empty()) {
                addPlainWord(takeWord());
            }
        } else if (word.starts_with("--")) {
            readLong(word);
        } else if (word.size() > 1 && word[0] == '-') {
            readShort(word);
        } else {
            addPlainWord(word);
        }
    }

    void readLong(const String& word) {
        const size_t equals = word.find('=');
        const String name = word.substr(2, equals - 2);
        const auto row = std::ranges::find_if(
            m_rows, [&](const Option& r) { return r.longopt != nullptr && name == r.longopt; });
        if (row == m_rows.end() || (equals != String::npos && !takesArgument(*row))) {
            BLOCXX_THROW_ERR(CmdLineParserException, word, CmdLineParser::E_INVALID_OPTION);
        }
        po::option& option = addOption(keyOf(*row));
        if (equals != String::npos) {
            option.value.push_back(word.substr(equals + 1));
        } else if (takesArgument(*row)) {
            option.value.push_back(takeArgument(word));
        }
    }

    // "-abc" is "-a -b -c", or "-a" with the argument "bc" when it takes one.
    void readShort(const String& word) {
        for (size_t i = 1; i < word.size(); ++i) {
            const String name{'-', word[i]};
            const auto row = std::ranges::find(m_rows, word[i], &Option::shortopt);
            if (row == m_rows.end()) {
                BLOCXX_THROW_ERR(CmdLineParserException, name, CmdLineParser::E_INVALID_OPTION);
            }
            po::option& option = addOption(keyOf(*row));
            if (takesArgument(*row)) {
                const bool adjacent = i + 1 < word.size();
                option.value.push_back(adjacent ? word.substr(i + 1) : takeArgument(name));
                return;
            }
        }
    }

    String takeArgument(const String& option) {
        if (m_words.empty()) {
            BLOCXX_THROW_ERR(CmdLineParserException, option, CmdLineParser::E_MISSING_ARGUMENT);
        }
        return takeWord();
    }

    static bool takesArgument(const Option& row) {
        return row.argtype == CmdLineParser::E_REQUIRED_ARG;
    }

    po::option& addOption(const String& key) {
        m_options.emplace_back().string_key = key;
        return m_options.back();
    }
    void addPlainWord(const String& word) { addOption({}).value.push_back(word); }
    String takeWord() {
        String word = std::move(m_words.front());
        m_words.pop_front();
        return word;
    }

    std::span<const Option> m_rows;
    std::deque<String> m_words;
    std::vector<po::option> m_options;
};

std::vector<po::option> parse(std::span<const Option> rows, const std::vector<String>& words) {
    const po::options_description description = describe(rows);
    po::command_line_parser parser(words);
    parser.options(description).extra_style_parser([rows](std::vector<String>& rest) {
        return WordReader(rows, rest).readAll();
    });
    try {
        return parser.run().options;
    } catch (const po::error& e) {
        BLOCXX_THROW_ERR(CmdLineParserException, e.what(), CmdLineParser::E_INVALID_OPTION);
    }
}

}  // namespace

CmdLineParser::CmdLineParser(int argc, const char* const* argv, const Option* options,
                             EAllowNonOptionArgsFlag allowNonOptionArgs) {
    const std::span<const Option> rows = rowsOf(options);
    std::map<String, int> ids;
    for (const Option& row : rows) {
        ids.emplace(keyOf(row), row.id);
        if (row.defaultValue != nullptr) {
            m_defaults.emplace(row.id, row.defaultValue);
        }
    }
    const int first = argc > 0 ? 1 : 0;
    for (const po::option& option : parse(rows, {argv + first, argv + argc})) {
        if (!option.string_key.empty()) {
            StringArray& values = m_values[ids.at(option.string_key)];
            values.insert(values.end(), option.value.begin(), option.value.end());
        } else if (allowNonOptionArgs == E_NON_OPTION_ARGS_ALLOWED) {
            m_nonOptionArgs.push_back(option.value.front());
        } else {
            BLOCXX_THROW_ERR(CmdLineParserException, option.value.front(),
                             E_INVALID_NON_OPTION_ARG);
        }
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
