// SPDX-License-Identifier: Apache-2.0
//
// Parses a command line by a table of options, as getopt_long does but without abbreviations:
// "--long value", "--long=value", "-s value", "-svalue". The word after an option that requires an
// argument is its argument, whatever it looks like; "--" ends the options.
#pragma once

#include <map>

#include "blocxx/Exception.hpp"
#include "blocxx/String.hpp"

namespace blocxx {

BLOCXX_DECLARE_EXCEPTION(CmdLineParser)

class CmdLineParser {
public:
    enum EArgumentType { E_NO_ARG, E_REQUIRED_ARG };

    /// One row of the option table. A row without names ends it.
    struct Option {
        int id;
        char shortopt;        ///< 0 when there is none
        const char* longopt;  ///< 0 when there is none
        EArgumentType argtype;
        const char* defaultValue;  ///< 0 when there is none
        const char* description;
    };

    enum EAllowNonOptionArgsFlag { E_NON_OPTION_ARGS_INVALID, E_NON_OPTION_ARGS_ALLOWED };

    /// Error codes of CmdLineParserException. The message is the option or word at fault.
    enum EErrorCodes {
        E_INVALID_OPTION = 0,    ///< not in the table, or given an argument it does not take
        E_MISSING_ARGUMENT = 1,  ///< the message is the option
        E_INVALID_NON_OPTION_ARG = 2,
        E_MISSING_OPTION = 3  ///< a mustGet... call found nothing
    };

    /// Parses argv[1] to argv[argc-1]. Throws CmdLineParserException.
    CmdLineParser(int argc, const char* const* argv, const Option* options,
                  EAllowNonOptionArgsFlag allowNonOptionArgs);

    bool isSet(int id) const;
    /// The last value given, the option's default, or `defaultValue`.
    String getOptionValue(int id, const String& defaultValue = String()) const;
    /// All given values in their order; empty when the option is absent.
    StringArray getOptionValueList(int id) const;
    /// As above, but throws E_MISSING_OPTION with the message `exceptionText` for an absent option
    /// without a default. A list has no default.
    String mustGetOptionValue(int id, const char* exceptionText = "") const;
    StringArray mustGetOptionValueList(int id, const char* exceptionText = "") const;
    const StringArray& getNonOptionArgs() const noexcept { return m_nonOptionArgs; }

    /// Lists the options in table order. An entry is "-h, --help" or "--name <arg>", then the
    /// description, aligned and wrapped. Only a word that is too long exceeds `maxColumns`.
    static String getUsage(const Option* options, unsigned maxColumns = 80);

private:
    std::map<int, StringArray> m_values;
    std::map<int, String> m_defaults;
    StringArray m_nonOptionArgs;
};

}  // namespace blocxx
