// SPDX-License-Identifier: Apache-2.0
#include "utilities/owshow/ProductReader.hpp"

#include "fennik/cimom/FNUtils.hpp"
#include "fennik/namespace/NamespaceModel.hpp"
#include "fennik/product/ProductPaths.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "utilities/common/Attempt.hpp"
#include "utilities/owshow/ProviderReader.hpp"

namespace OwShow {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)
using KOVNS2::productPath;
using KOVNS2::ProviderModel::text;
using Layout::KOV_NS;
using OwUtilities::attempt;
namespace NamespaceModel = KOVNS2::NamespaceModel;
namespace ProductPaths = KOVNS2::ProductPaths;
namespace ProviderModel = KOVNS2::ProviderModel;

StringArray ProductReader::names() {
    StringArray names;
    Budget budget;
    auto collect = makeResultHandler<CIMObjectPath>([&](const CIMObjectPath& path) {
        names.push_back(path.getKeyValue("Name").toString());
        budget.take(names.back());
    });
    attempt("list the products",
            [&] { m_handle.enumInstanceNames(KOV_NS, "KOV_Product", collect); });
    std::ranges::sort(names);
    return names;
}

Node ProductReader::read(const String& product) {
    m_budget = Budget();
    Node tree{product, {}};
    attempt("show the product \"" + product + "\"", [&] {
        addUsers(tree, m_handle.getInstance(KOV_NS, productPath(product)));
        addFiles(tree, product);
        addSection(tree, "namespaces", [&](Node& section) { addNamespaces(section, product); });
        addSection(tree, "providers", [&](Node& section) { addProviders(section, product); });
    });
    return tree;
}

void ProductReader::addUsers(Node& tree, const CIMInstance& product) {
    const CIMValue names = product.getPropertyValue("Usernames");
    addSection(tree, "users", [&](Node& section) {
        for (size_t i = 0; names.isArray() && i < names.getArraySize(); ++i) {
            m_budget.take(section.add(names.getElement(i).toString()).text);
        }
    });
}

void ProductReader::addFiles(Node& tree, const String& product) {
    // Nothing may be looked for at any other name.
    if (ProductPaths::canNameSnippet(product)) {
        addFile(tree, "allowed users file", ProductPaths::allowedUsersFile(product, m_prefix),
                "missing");
        addFile(tree, "configuration snippet", ProductPaths::configSnippet(product, m_prefix),
                "none");
    }
}

void ProductReader::addNamespaces(Node& tree, const String& product) {
    auto add = makeResultHandler<CIMInstance>([&](const CIMInstance& reservation) {
        m_budget.take(tree.add(text(reservation, "Name")).text);
    });
    m_handle.associators(KOV_NS, productPath(product), add,
                         {.assocClass = NamespaceModel::PRODUCT_RESERVED_NAMESPACE,
                          .resultClass = NamespaceModel::RESERVED_NAMESPACE,
                          .role = {},
                          .resultRole = {}});
    sortChildren(tree);
    for (Node& ns : tree.children) {
        addOrExplain(ns, [&] {
            const auto found = rights().find(blocxx::toLower(ns.text));
            for (const String& right : found == rights().end() ? StringArray() : found->second) {
                m_budget.take(ns.add(right).text);
            }
        });
    }
}

const ProductReader::Rights& ProductReader::rights() {
    if (!m_rights) {
        m_rights = readRights();
    }
    return *m_rights;
}

ProductReader::Rights ProductReader::readRights() {
    Rights rights;
    Budget budget;
    auto collect = makeResultHandler<CIMInstance>([&](const CIMInstance& access) {
        const String ns = blocxx::toLower(text(access, "nspace"));
        const String right = text(access, "username") + ": " + text(access, "capability");
        budget.take(ns);
        budget.take(right);
        rights[ns].push_back(right);
    });
    m_handle.enumInstances(Layout::SECURITY_NS, NamespaceModel::USER_ACL, collect);
    for (auto& [ns, list] : rights) {
        std::ranges::sort(list);
    }
    return rights;
}

void ProductReader::addProviders(Node& tree, const String& product) {
    // Collected first, because one enumeration at a time goes through a handle.
    std::vector<CIMObjectPath> records;
    auto collect = makeResultHandler<CIMObjectPath>([&](const CIMObjectPath& path) {
        m_budget.take(path.toString());
        records.push_back(path);
    });
    m_handle.associatorNames(KOV_NS, productPath(product), collect,
                             {.assocClass = ProviderModel::PRODUCT_PROVIDER,
                              .resultClass = ProviderModel::PROVIDER,
                              .role = {},
                              .resultRole = {}});
    ProviderReader reader(m_handle, m_prefix, m_budget);
    for (const CIMObjectPath& record : records) {
        tree.children.push_back(reader.read(m_handle.getInstance(KOV_NS, record)));
    }
    sortChildren(tree);
}

}  // namespace OwShow
