// SPDX-License-Identifier: Apache-2.0
#include "fennik/provider/ProviderValidation.hpp"

#include <algorithm>

#include "blocxx/FileSystem.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/provider/ProviderModel.hpp"
#include "layout/Layout.hpp"

namespace KOVNS2 {

using namespace ProviderModel;
using blocxx::Format;
using OpenWBEM::CIMInstance;
using OpenWBEM::CIMValue;

namespace {

/// The infrastructure's own product, the only one that may register the infrastructure's programs.
constexpr const char* INFRASTRUCTURE_PRODUCT = "kov";
constexpr const char* PROTOCOL = "owcpp1";

constexpr uint64_t FIRST_PROVIDER_TYPE = 1;
constexpr uint64_t LAST_PROVIDER_TYPE = 8;
constexpr uint64_t INDICATION_EXPORT = 7;

constexpr const char* UNPRIVILEGED = "3";
constexpr const char* MONITORED = "4";

class RegistrationRules {
public:
    explicit RegistrationRules(const CIMInstance& instance)
        : m_instance(instance), m_id(text(instance, "InstanceID")) {}

    void checkName(const String& productName) const {
        const String prefix = productName + ":";
        if (!m_id.starts_with(prefix)) {
            refuse("InstanceID property value (%1) must begin with %2", prefix);
        }
        const String& className = m_instance.getClassName();
        if (className != OOP_REGISTRATION && className != OOP_PROCESS) {
            refuse("Registration instance %1 is not an instance of %2 nor %3 (%4)",
                   OOP_REGISTRATION, OOP_PROCESS, className);
        }
    }

    void checkProcess(const String& productName, bool mustExist) const {
        const String process = text(m_instance, "Process");
        if (process.starts_with(Layout::INSTALLATION) && productName != INFRASTRUCTURE_PRODUCT) {
            refuse("Instance %1: Process property cannot start with /opt/tarvo/kov");
        }
        if (mustExist && !blocxx::FileSystem::canExecute(process)) {
            refuse("Instance %1: Process property does not identify a valid executable: %2",
                   process);
        }
        if (text(m_instance, "Protocol") != PROTOCOL) {
            refuse("Instance %1: Protocol property must be owcpp1");
        }
    }

    void checkNamespaces(const blocxx::StringArray& registered) const {
        const CIMValue names = m_instance.getPropertyValue("NamespaceNames");
        if (names.isNull()) {
            refuse("Instance %1: NamespaceNames property must be set");
        }
        for (size_t i = 0; i < names.getArraySize(); ++i) {
            const String name = names.getElement(i).toString();
            if (std::ranges::count(registered, name) == 0) {
                refuse(
                    "Instance %1: NamespaceNames property contains a namespace (%2) that is not "
                    "registered",
                    name);
            }
        }
    }

    void checkProviderTypes() const {
        const CIMValue types = m_instance.getPropertyValue("ProviderTypes");
        for (size_t i = 0; i < types.getArraySize(); ++i) {
            checkProviderType(types.getElement(i));
        }
    }

    void checkPrivileges(bool monitored) const {
        const String context = text(m_instance, "UserContext");
        if (context != (monitored ? MONITORED : UNPRIVILEGED)) {
            refuse("Instance %1: UserContext property contains an invalid value: %2", context);
        }
        if (!m_instance.getPropertyValue(PRIVILEGES_FILE).isNull()) {
            refuse("Instance %1: MonitorPrivilegesFile property has a value but must be NULL");
        }
    }

private:
    void checkProviderType(const CIMValue& type) const {
        const uint64_t number = type.isNull() ? 0 : type.toUnsigned();
        if (number < FIRST_PROVIDER_TYPE || number > LAST_PROVIDER_TYPE) {
            refuse("Instance %1: ProviderTypes property contains an invalid value: %2",
                   type.toString());
        }
        if (number == INDICATION_EXPORT &&
            m_instance.getPropertyValue("IndicationExportHandlerClassNames").isNull()) {
            refuse(
                "Instance %1: Indication Export providers must set the "
                "IndicationExportHandlerClassNames property");
        }
    }

    /// The text of a rule and the place of the check.
    struct Rule {
        // Implicit, so that the place is that of the call of refuse().
        Rule(const char* text, CallSite place = CallSite::here()) : pattern(text), where(place) {}

        const char* pattern;
        CallSite where;
    };

    template <class... Args>
    [[noreturn]] void refuse(const Rule& rule, const Args&... args) const {
        throw FennikException(Format(rule.pattern, m_id, args...), INVALID_INPUT, nullptr,
                              rule.where);
    }

    const CIMInstance& m_instance;
    const String m_id;
};

}  // namespace

void validateRegistrationInstance(const CIMInstance& instance, const ValidationContext& context) {
    const RegistrationRules examination(instance);
    examination.checkName(context.productName);
    examination.checkProcess(context.productName, context.programMustExist);
    if (instance.getClassName() == OOP_REGISTRATION) {
        examination.checkNamespaces(context.registeredNamespaces());
        examination.checkProviderTypes();
    }
    examination.checkPrivileges(context.isMonitored);
}

}  // namespace KOVNS2
