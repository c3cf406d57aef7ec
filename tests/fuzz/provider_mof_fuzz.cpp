// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as the three texts of a provider, separated by lines "====": they make a valid
// registration, or are refused with the tool's own error. Neither writes anything. The repository
// is opened once.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <istream>

#include "fennik/common/FennikException.hpp"
#include "fennik/namespace/FNNamespaceRegistration.hpp"
#include "fennik/product/FNProductRegistration.hpp"
#include "fennik/provider/FNProviderRegistrationFacility.hpp"
#include "openwbem/privilege/PrivilegeConfig.hpp"
#include "tests/unit/fennik/StagedTree.hpp"

namespace {

using namespace KOVNS2;
using KOVNS2::Testing::OpenRepository;
using KOVNS2::Testing::StagedTree;

void check(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

/// A repository with the product "sample" and its namespace "sample".
struct Scene {
    Scene() : repository(tree) {
        CleanupActions_t undo;
        registerProduct(repository.handle(), "sample", {"alice"}, tree.prefix());
        registerNamespaces(repository.handle(), "sample", {"alice"}, {}, {"sample"}, tree.prefix(),
                           undo);
        repository.handle()->commit();
    }

    StagedTree tree;
    OpenRepository repository;
};

/// Removes the text before the next separator, and the separator, from `rest`. Returns the text.
String cut(String& rest) {
    static const String separator = "====\n";
    const size_t at = rest.find(separator);
    String part = rest.substr(0, at);
    rest = at == String::npos ? String() : rest.substr(at + separator.size());
    return part;
}

class NoIncludes : public OpenWBEM::PrivilegeConfig::IncludeHandler {
public:
    std::unique_ptr<std::istream> getInclude(const String&) override { return nullptr; }
    void endInclude() override {}
};

/// Whether the text allows one command and nothing else.
bool isOneCommand(const String& text, bool monitored) {
    OpenWBEM::PrivilegeConfig::Privileges found;
    NoIncludes includes;
    OpenWBEM::PrivilegeConfig::openwbem_privconfig_parse(text, includes, found);
    const auto& commands = monitored ? found.monitored_exec_check_args : found.user_exec_check_args;
    const auto& others = monitored ? found.user_exec_check_args : found.monitored_exec_check_args;
    return commands.size() == 1 && others.empty() && found.paths.empty() &&
           found.unpriv_user.empty();
}

void checkRegistration(const OOP1ProviderRegistration& registration, bool monitored) {
    const String start = registration.providerOOPPrivileges();
    check(registration.instanceID().starts_with("sample:"), "another product's identifier");
    check(start.starts_with(monitored ? "monitored_exec_check_args { " : "user_exec_check_args { "),
          "other start privileges");
    check(isOneCommand(start, monitored), "the start privileges allow something else");
    check(registration.providerMofNamespace().empty() ||
              registration.providerMofNamespace() == "sample",
          "another namespace");
    check(!registration.listProviderInfo().empty(), "nothing to list");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Scene& scene = *new Scene;  // NOLINT(cppcoreguidelines-owning-memory): as the process
    String rest(reinterpret_cast<const char*>(data), size);
    const String regMof = cut(rest);
    const String providerMof = cut(rest);
    CleanupActions_t undo;
    ProviderRegistrationFacility facility(scene.repository.handle(), "sample", scene.tree.prefix(),
                                          undo);
    try {
        const auto made = facility.createOOP1ProviderRegistrationFromString(
            regMof, providerMof, rest, String(), "P1", "P2", "P3");
        checkRegistration(dynamic_cast<const OOP1ProviderRegistration&>(*made), !rest.empty());
    } catch (const FennikException& e) {
        const int code = e.getErrorCode();
        check(code == 4 || code == 14 || code == 33, "another error code");
        check(e.getMessage()[0] != '\0', "no message");
    }
    check(undo.empty(), "something was changed");
    return 0;
}
