// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/operations/Audit.hpp"

#include "blocxx/Format.hpp"
#include "blocxx/Printable.hpp"
#include "owcimomd/process/Log.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

/// Of a name, in bytes. A client may send names as long as its request.
constexpr size_t MAX_SHOWN = 256;

String line(const char* outcome, const Deed& deed) {
    String text = Format("audit: %1 user=%2 uid=%3 operation=%4", outcome, inQuotes(deed.user.name),
                         deed.user.uid, deed.operation);
    if (!deed.ns.empty()) {
        text += " namespace=" + inQuotes(deed.ns);
    }
    if (!deed.object.empty()) {
        text += " object=" + inQuotes(deed.object);
    }
    if (deed.objects != 1) {
        text += " objects=" + std::to_string(deed.objects);
    }
    return text;
}

struct ObjectName {
    String operator()(const String* name) const { return *name; }
    String operator()(const CIMInstance* instance) const {
        return CIMObjectPath(String(), *instance).modelPath();
    }
    String operator()(const CIMObjectPath* path) const { return path->modelPath(); }
    String operator()(std::monostate) const { return {}; }
    template <class Named>
    String operator()(const Named* object) const {
        return object->getName();
    }
};

}  // namespace

String inQuotes(std::string_view text) {
    String out = "\"";
    for (const char c : text.substr(0, MAX_SHOWN)) {
        if (c == '"' || c == '\\') {
            out += '\\';
        }
        out += c;
    }
    return blocxx::printable(blocxx::oneLine(out)) + (text.size() > MAX_SHOWN ? "...\"" : "\"");
}

String objectOf(const OperationCall& call) {
    return std::visit(ObjectName(), call.operand);
}

void Audit::done(const Deed& deed) noexcept {
    try {
        reportInfo(line("done", deed));
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the change is committed
    }
}

void Audit::failed(const Deed& deed, int code) noexcept {
    const bool isRefused = code == CIMException::ACCESS_DENIED;
    if (!isRefused && !deed.isChange) {
        return;
    }
    try {
        Limits& limits = limitsFor(deed.user);
        if (isRefused) {
            limits.refusals.log(blocxx::ELogLevel::INFO, line("refused", deed));
        } else {
            limits.failures.log(blocxx::ELogLevel::INFO,
                                line("failed", deed) + " error=" + std::to_string(code));
        }
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the client is told
    }
}

/// Users who may connect are few: the configuration names them.
Audit::Limits& Audit::limitsFor(const User& user) {
    return m_access.mayConnect(user) ? m_users[user.uid] : m_strangers;
}

}  // namespace OwCimomd
