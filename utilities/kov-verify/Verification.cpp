// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/Verification.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/model/CIMException.hpp"
#include "utilities/common/DaemonPause.hpp"
#include "utilities/common/LocalRepository.hpp"
#include "utilities/kov-verify/BoundedHandle.hpp"
#include "utilities/kov-verify/Installation.hpp"
#include "utilities/kov-verify/Namespaces.hpp"
#include "utilities/kov-verify/Orphans.hpp"
#include "utilities/kov-verify/ProductFiles.hpp"
#include "utilities/kov-verify/Providers.hpp"

namespace KovVerify {

using blocxx::Format;

namespace {

String nameOf(const CIMInstance& product) {
    return product.getPropertyValue("Name").toString();
}

/// Checks the repository's file. A damaged one cannot tell what should be there.
bool passesCheck(Context& context, const OwUtilities::LocalRepository& repository) {
    try {
        repository.check();
    } catch (const OpenWBEM::CIMException& e) {
        const String path = context.tree.path(Layout::REPOSITORY);
        // The account could put a link in the way of a copy, but not in the way of a rename.
        const String copy =
            Commands::word(context.tree.path(Layout::STATE_DIRECTORY) + "/repository.restored");
        context.findings.add(String(e.getMessage()) + "; products were not looked at",
                             "cp -aT BACKUP " + copy + " && mv -T " + Commands::word(path) + " " +
                                 Commands::word(path + ".damaged") + " && mv -T " + copy + " " +
                                 Commands::word(path));
        return false;
    }
    return true;
}

void checkProduct(Context& context, const CIMInstance& product) {
    const String name = nameOf(product);
    context.findings.beginSection(Format("product \"%1\"", name));
    checkProductFiles(context, product);
    checkNamespaces(context, name);
    checkProviders(context, name);
}

/// Returns how many products were looked at.
size_t checkProducts(Context& context, const OwUtilities::Repository& repository,
                     const String& only) {
    std::map<String, CIMInstance> products;
    std::set<String> names;
    for (const CIMInstance& product :
         context.handle->enumInstancesA(Layout::KOV_NS, "KOV_Product")) {
        names.insert(nameOf(product));
        if (only.empty() || nameOf(product) == only) {
            products.emplace(nameOf(product), product);
        }
    }
    if (!only.empty() && products.empty()) {
        BLOCXX_THROW(blocxx::Exception, Format("the product \"%1\" is not registered; \"fennik "
                                               "--list-registered-products\" lists those that are",
                                               only));
    }
    readNamespaces(context, repository);
    for (const auto& [name, product] : products) {
        checkProduct(context, product);
    }
    if (only.empty()) {
        context.findings.beginSection("no product");
        checkOrphans(context, names);
    }
    return products.size();
}

void look(Context& context, const String& product, Outcome& outcome) {
    context.findings.beginSection("installation");
    lookAtOwnership(context);
    if (checkLeftOvers(context)) {
        const auto repository = OwUtilities::Repository::open(context.prefix);
        context.handle = new BoundedHandle(repository->handle(), context.budget);
        const auto* const own = dynamic_cast<OwUtilities::LocalRepository*>(repository.get());
        if (own == nullptr || passesCheck(context, *own)) {
            outcome.products = checkProducts(context, *repository, product);
        }
        outcome.isRepositoryChecked = own != nullptr;
    }
    if (product.empty()) {
        context.findings.beginSection("installation");
        checkConfiguration(context);
    }
}

}  // namespace

Outcome verify(const String& prefix, const String& product) {
    Context context(prefix, prefix.empty() && OwUtilities::isDaemonRunning());
    Outcome outcome;
    try {
        look(context, product, outcome);
    } catch (const OwUtilities::ExcessException& e) {
        outcome.whyIncomplete = e.getMessage();
    }
    outcome.findings = std::move(context.findings);
    return outcome;
}

}  // namespace KovVerify
