// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/SchemaUpgrade.hpp"

#include "blocxx/Format.hpp"
#include "layout/Layout.hpp"
#include "utilities/common/Attempt.hpp"

namespace KovSetup {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)
using blocxx::Format;

namespace {

/// What `get` returns; nothing when it throws that there is no such object or namespace.
template <class Get>
auto find(Get get) -> std::optional<decltype(get())> {
    try {
        return get();
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::NOT_FOUND &&
            e.getErrNo() != CIMException::INVALID_NAMESPACE) {
            throw;
        }
        return std::nullopt;
    }
}

class Comparison {
public:
    explicit Comparison(CIMOMHandleIFC& handle) : m_handle(handle) {}

    void compareNamespace(const MOF::NamespaceContent& content) {
        const String& ns = content.nameSpace;
        if (!hasNameSpace(ns)) {
            m_found.push_back({ns, std::monostate(), true});
        }
        for (const CIMQualifierType& type : content.qualifierTypes) {
            compare(ns, type, getQualifierType(ns, type.getName()));
        }
        for (const CIMClass& cls : content.classes) {
            compare(ns, cls, find([&] {
                        return m_handle.getClass(ns, cls.getName(), E_NOT_LOCAL_ONLY,
                                                 E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN);
                    }));
        }
    }

    void compareReserved(const Array<CIMQualifierType>& standard) {
        for (const String& ns : reservedNamespaces()) {
            for (const CIMQualifierType& type : standard) {
                if (!getQualifierType(ns, type.getName())) {
                    m_found.push_back({ns, type, true});
                }
            }
        }
    }

    Array<Difference> found() && { return std::move(m_found); }

private:
    bool hasNameSpace(const String& ns) {
        try {
            m_handle.getQualifierType(ns, "Key");
        } catch (const CIMException& e) {
            return e.getErrNo() != CIMException::INVALID_NAMESPACE;
        }
        return true;
    }

    std::optional<CIMQualifierType> getQualifierType(const String& ns, const String& name) {
        return find([&] { return m_handle.getQualifierType(ns, name); });
    }

    template <class Declared>
    void compare(const String& ns, const Declared& declared,
                 const std::optional<Declared>& existing) {
        if (!existing || !(*existing == declared)) {
            m_found.push_back({ns, declared, !existing});
        }
    }

    /// Those that exist: a reservation is only an instance.
    StringArray reservedNamespaces() {
        StringArray names;
        try {
            for (const CIMObjectPath& path :
                 m_handle.enumInstanceNamesA(Layout::KOV_NS, "KOV_ReservedNamespace")) {
                const String ns = path.getKeyValue("Name").toString();
                if (hasNameSpace(ns)) {
                    names.push_back(ns);
                }
            }
        } catch (const CIMException& e) {
            if (e.getErrNo() != CIMException::INVALID_CLASS &&
                e.getErrNo() != CIMException::INVALID_NAMESPACE) {
                throw;
            }
        }
        return names;
    }

    CIMOMHandleIFC& m_handle;
    Array<Difference> m_found;
};

void bringIn(RepositoryCIMOMHandle& repository, const Difference& difference) {
    const String& ns = difference.nameSpace;
    if (const auto* type = std::get_if<CIMQualifierType>(&difference.declared)) {
        repository.setQualifierType(ns, *type);
    } else if (const auto* cls = std::get_if<CIMClass>(&difference.declared)) {
        difference.isMissing ? repository.createClass(ns, *cls) : repository.modifyClass(ns, *cls);
    } else {
        repository.createNameSpace(ns);
    }
}

}  // namespace

String Difference::toString() const {
    if (const auto* type = std::get_if<CIMQualifierType>(&declared)) {
        return Format("the qualifier type \"%1\" in the namespace \"%2\"", type->getName(),
                      nameSpace);
    }
    if (const auto* cls = std::get_if<CIMClass>(&declared)) {
        return Format("the class \"%1\" in the namespace \"%2\"", cls->getName(), nameSpace);
    }
    return Format("the namespace \"%1\"", nameSpace);
}

Array<Difference> findDifferences(CIMOMHandleIFC& handle, const Schema& schema) {
    Comparison comparison(handle);
    for (const MOF::NamespaceContent& content : schema) {
        comparison.compareNamespace(content);
        if (content.nameSpace == Layout::KOV_NS) {
            comparison.compareReserved(content.qualifierTypes);
        }
    }
    return std::move(comparison).found();
}

StringArray bringIn(RepositoryCIMOMHandle& repository, const Array<Difference>& differences) {
    StringArray done;
    for (const Difference& difference : differences) {
        const String what = difference.toString();
        try {
            bringIn(repository, difference);
        } catch (const CIMException& e) {
            const char* verb = difference.isMissing ? "add " : "change ";
            BLOCXX_THROW(blocxx::Exception, OwUtilities::describeAttempt(verb + what, e));
        }
        done.push_back(what + (difference.isMissing ? " was added" : " was changed"));
    }
    return done;
}

}  // namespace KovSetup
