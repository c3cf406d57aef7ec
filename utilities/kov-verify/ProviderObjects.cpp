// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/ProviderObjects.hpp"

#include <functional>

#include "blocxx/Format.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "openwbem/model/CIMClass.hpp"
#include "openwbem/model/CIMException.hpp"
#include "openwbem/model/CIMQualifierType.hpp"

namespace KovVerify {

namespace ProviderModel = KOVNS2::ProviderModel;
using blocxx::Format;
using OpenWBEM::CIMException;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMValue;

namespace {

/// Checks one record.
class ObjectsCheck {
public:
    ObjectsCheck(Context& context, const String& product, const CIMInstance& record)
        : m_context(context),
          m_product(product),
          m_record(record),
          m_id(ProviderModel::text(record, "RegistrationInstanceID")),
          m_ns(ProviderModel::text(record, ProviderModel::MOF_NAMESPACE)) {}

    void run() const {
        if (!m_ns.empty() && !m_context.hasNamespace(m_ns)) {
            add(Format("has lost the namespace \"%1\" with its classes; register the namespace "
                       "first",
                       m_ns),
                compileAgain());
            return;
        }
        reportMissingLists();
        for (const String& name : list(ProviderModel::MOF_CLASSES)) {
            if (!exists([&] { m_context.handle->getClass(m_ns, name); })) {
                add(Format("has lost the class \"%1\" in the namespace \"%2\"", name, m_ns),
                    compileAgain());
            }
        }
        for (const String& name : list(ProviderModel::MOF_QUALIFIER_TYPES)) {
            if (!exists([&] { m_context.handle->getQualifierType(m_ns, name); })) {
                add(Format("has lost the qualifier type \"%1\" in the namespace \"%2\"", name,
                           m_ns),
                    compileAgain());
            }
        }
        for (const String& name : list(ProviderModel::MOF_INSTANCES)) {
            checkInstance(name);
        }
    }

private:
    void add(const String& what, const String& command) const {
        m_context.findings.add(Format("the provider \"%1\" %2", m_id, what), command);
    }

    String compileAgain() const {
        return m_context.commands.utility("owmofc", "FILE") + " && " +
               m_context.commands.registerProviders(m_product);
    }

    StringArray list(const char* property) const {
        const CIMValue names = m_record.getPropertyValue(property);
        return names.isNull() ? StringArray() : names.getArray<String>();
    }

    static bool exists(const std::function<void()>& read) {
        try {
            read();
        } catch (const CIMException& e) {
            if (e.getErrNo() != CIMException::NOT_FOUND &&
                e.getErrNo() != CIMException::INVALID_CLASS &&
                e.getErrNo() != CIMException::INVALID_NAMESPACE) {
                throw;
            }
            return false;
        }
        return true;
    }

    /// A list that is NULL, rather than empty, marks the record as damaged.
    void reportMissingLists() const {
        CIMInstance complete = m_record;
        bool isDamaged = false;
        for (const char* property : {ProviderModel::MOF_CLASSES, ProviderModel::MOF_QUALIFIER_TYPES,
                                     ProviderModel::MOF_INSTANCES}) {
            if (m_record.getPropertyValue(property).isNull()) {
                complete.setProperty(property, CIMValue::array<String>({}));
                isDamaged = true;
            }
        }
        if (m_record.getPropertyValue(ProviderModel::MOF_NAMESPACE).isNull()) {
            complete.setProperty(ProviderModel::MOF_NAMESPACE, CIMValue(String()));
            isDamaged = true;
        }
        if (isDamaged) {
            add("has a record without the names of its objects",
                m_context.commands.write(complete, ProviderModel::KOV_NS));
        }
    }

    /// Whether `read` accepts what it is given.
    static bool isPossible(const std::function<void()>& read) {
        try {
            read();
        } catch (const CIMException& e) {
            if (e.getErrNo() != CIMException::INVALID_PARAMETER) {
                throw;
            }
            return false;
        }
        return true;
    }

    void reportImpossible(const String& name) const {
        StringArray names = list(ProviderModel::MOF_INSTANCES);
        std::erase(names, name);
        CIMInstance record = m_record;
        record.setProperty(ProviderModel::MOF_INSTANCES, CIMValue::array<String>(std::move(names)));
        add(Format("has a record that names the impossible instance %1", name),
            m_context.commands.write(record, ProviderModel::KOV_NS));
    }

    /// The record names instances of the provider's namespace and of the interop namespace.
    void checkInstance(const String& name) const {
        CIMObjectPath path;
        if (!isPossible([&] { path = CIMObjectPath::parse(name); })) {
            return reportImpossible(name);
        }
        const String ns =
            path.getNameSpace() == ProviderModel::INTEROP_NS ? ProviderModel::INTEROP_NS : m_ns;
        OpenWBEM::CIMClass definition;
        if (!exists([&] { definition = m_context.handle->getClass(ns, path.getClassName()); })) {
            add(Format("has lost the instance %1 with its class", name), compileAgain());
        } else if (!isPossible([&] { path.syncWithClass(definition); })) {
            reportImpossible(name);
        } else if (!exists([&] { m_context.handle->getInstance(ns, path); })) {
            add(Format("has lost the instance %1", name),
                m_context.commands.write(ProviderModel::keysOnly(path), ns) + " && " +
                    m_context.commands.registerProviders(m_product));
        }
    }

    Context& m_context;
    const String& m_product;
    const CIMInstance& m_record;
    String m_id;
    String m_ns;
};

}  // namespace

void checkProviderObjects(Context& context, const String& product, const CIMInstance& record) {
    ObjectsCheck(context, product, record).run();
}

}  // namespace KovVerify
