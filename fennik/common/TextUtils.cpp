// SPDX-License-Identifier: Apache-2.0
#include "fennik/common/TextUtils.hpp"

#include <boost/algorithm/string/join.hpp>

namespace KOVNS2 {

using blocxx::String;

String untokenize(const blocxx::StringArray& parts, const String& separator) {
    return boost::algorithm::join(parts, separator);
}

String search_replace(const String& text, const String& search, const String& replacement) {
    if (search.empty()) {
        return text;
    }
    String result;
    size_t done = 0;
    for (size_t found = text.find(search); found != String::npos; found = text.find(search, done)) {
        result.append(text, done, found - done).append(replacement);
        done = found + search.size();
    }
    return result.append(text, done);
}

String shellWord(const String& text) {
    constexpr std::string_view PLAIN =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./:-";
    if (!text.empty() && text.find_first_not_of(PLAIN) == String::npos) {
        return text;
    }
    return "'" + search_replace(text, "'", "'\\''") + "'";
}

bool equals_ignorecase(const String& left, const String& right) {
    return blocxx::equalsIgnoreCase(left, right);
}

}  // namespace KOVNS2
