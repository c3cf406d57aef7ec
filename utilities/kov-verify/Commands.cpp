// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/Commands.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "fennik/common/TextUtils.hpp"
#include "openwbem/mof/MOFRenderer.hpp"

namespace KovVerify {

using KOVNS2::search_replace;

namespace {

/// The text in the quotes of bash that can hold everything but NUL.
String writtenOut(const String& text) {
    constexpr const char* DIGITS = "0123456789abcdef";
    String out = "$'";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7f && c != '\'' && c != '\\') {
            out += c;
            continue;
        }
        out += "\\x";
        out += DIGITS[byte >> 4U];
        out += DIGITS[byte & 0xFU];
    }
    return out + "'";
}

}  // namespace

String Commands::oneLine(const String& text) {
    return blocxx::printable(blocxx::oneLine(text));
}

// After "\xHH" a digit would be read as part of it only if there could be a third one; bash reads
// two.
String Commands::word(const String& text) {
    return oneLine(text) == text ? KOVNS2::shellWord(text) : writtenOut(text);
}

String Commands::fennik(const String& arguments, const String& product) const {
    const String prefix =
        m_prefix.empty() ? String() : "--kov-build-system-dest-dir " + word(m_prefix) + " ";
    return "fennik " + prefix + arguments + " --name " + word(product);
}

String Commands::utility(const String& tool, const String& arguments) const {
    String command = tool;
    if (!m_prefix.empty()) {
        command += " --dest-dir " + word(m_prefix);
    }
    return arguments.empty() ? command : command + " " + arguments;
}

// Every line break of the rendered text is between its tokens: those in strings are written out.
String Commands::write(const OpenWBEM::CIMInstance& instance, const String& ns) const {
    const String mof = search_replace(OpenWBEM::MOF::toMOF(instance), "\n", " ");
    return "printf %s " + word(mof) + " | " + utility("owmofc", "-n " + word(ns) + " -");
}

String Commands::deleteInstances(const OpenWBEM::Array<OpenWBEM::CIMObjectPath>& paths) const {
    String arguments;
    for (const OpenWBEM::CIMObjectPath& path : paths) {
        arguments += (arguments.empty() ? "" : " ") + word(path.toString());
    }
    return utility("owdeleteinstance", arguments);
}

String Commands::registerProviders(const String& product) const {
    return fennik("--register-providers LIST", product);
}

}  // namespace KovVerify
