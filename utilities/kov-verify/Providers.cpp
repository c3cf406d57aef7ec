// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-verify/Providers.hpp"

#include <optional>

#include "blocxx/FileSystem.hpp"
#include "blocxx/Format.hpp"
#include "fennik/common/FennikException.hpp"
#include "fennik/provider/CurrentProviders.hpp"
#include "fennik/provider/PrivilegeFiles.hpp"
#include "fennik/provider/PrivilegeVerification.hpp"
#include "fennik/provider/StartPrivileges.hpp"
#include "openwbem/privilege/PrivilegeConfig.hpp"
#include "utilities/kov-verify/PlacedFile.hpp"
#include "utilities/kov-verify/ProviderObjects.hpp"

namespace KovVerify {

namespace PrivilegeFiles = KOVNS2::PrivilegeFiles;
namespace ProviderModel = KOVNS2::ProviderModel;
using blocxx::Format;
using OpenWBEM::CIMException;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMValue;
using ProviderModel::text;

namespace {

/// For a file whose text is not known, until its provider is registered again.
constexpr const char* LOST = "# lost";
/// What a product's privilege file may have at most; fennik reads no more.
constexpr size_t LARGEST_PRIVILEGE_FILE = OpenWBEM::PrivilegeConfig::MAX_TEXT_SIZE;

/// Checks one provider.
class ProviderCheck {
public:
    ProviderCheck(Context& context, const String& product, const CIMInstance& record)
        : m_context(context),
          m_product(product),
          m_record(record),
          m_id(text(record, "RegistrationInstanceID")) {}

    void run() const {
        const String className = text(m_record, "RegistrationClassName");
        if (m_record.getClassName() != ProviderModel::OOP1_PROVIDER ||
            (className != ProviderModel::OOP_REGISTRATION &&
             className != ProviderModel::OOP_PROCESS)) {
            add("has a record of an unknown kind", removeRecord());
            return;
        }
        if (const auto registration = findRegistration()) {
            checkProgram(*registration);
            checkStartPrivileges(*registration);
            checkOwnPrivileges(*registration);
        }
        checkProviderObjects(m_context, m_product, m_record);
    }

private:
    void add(const String& what, const String& command) const {
        m_context.findings.add(Format("the provider \"%1\" %2", m_id, what), command);
    }

    String registerAgain() const { return m_context.commands.registerProviders(m_product); }

    String removeRecord() const {
        const CIMObjectPath path(ProviderModel::KOV_NS, m_record);
        return m_context.commands.deleteInstances(
            {ProviderModel::productProviderPath(m_product, path), path});
    }

    std::optional<CIMInstance> findRegistration() const {
        CIMObjectPath path(text(m_record, "RegistrationClassName"), ProviderModel::INTEROP_NS);
        path.setKeyValue("InstanceID", CIMValue(m_id));
        try {
            return m_context.handle->getInstance(ProviderModel::INTEROP_NS, path);
        } catch (const CIMException& e) {
            if (e.getErrNo() != CIMException::NOT_FOUND) {
                throw;
            }
        }
        reportMissingRegistration(path);
        return std::nullopt;
    }

    /// An instance with which the provider can be replaced is enough to register it again.
    void reportMissingRegistration(const CIMObjectPath& path) const {
        CIMInstance substitute = ProviderModel::keysOnly(path);
        const String file = PrivilegeFiles::providerPrivilegeFile(substitute);
        if (!PlacedFile(m_context.prefix + file).isMissing()) {
            substitute.setProperty(ProviderModel::PRIVILEGES_FILE, CIMValue(file));
        }
        m_context.privilegeFiles.insert(m_context.prefix + file);
        m_context.privilegeFiles.insert(m_context.prefix +
                                        PrivilegeFiles::oopPrivilegeFile(substitute));
        add("has lost its registration",
            m_context.commands.write(substitute, ProviderModel::INTEROP_NS) + " && " +
                registerAgain());
    }

    /// The programs of a staged tree are for another machine.
    void checkProgram(const CIMInstance& registration) const {
        const String program = text(registration, "Process");
        if (!m_context.tree.isLive() || blocxx::FileSystem::canExecute(program)) {
            return;
        }
        if (blocxx::FileSystem::exists(program) && !blocxx::FileSystem::isDirectory(program)) {
            // A client may have changed the registration, to name a file that is not the product's.
            const PlacedFile start(m_context.prefix +
                                   PrivilegeFiles::oopPrivilegeFile(registration));
            add(Format("has the program \"%1\", which cannot be executed", program),
                isStartAllowed(registration, start) ? "chmod a+x " + Commands::word(program)
                                                    : registerAgain());
        } else {
            add(Format("has the program \"%1\", which is missing; install the product's files "
                       "again, or remove its providers",
                       program),
                m_context.commands.fennik("--register-providers -", m_product) + " </dev/null");
        }
    }

    static bool isMonitored(const CIMInstance& registration) {
        return !registration.getPropertyValue(ProviderModel::PRIVILEGES_FILE).isNull();
    }

    /// A client may have changed the registration. So what it says is not written into the file:
    /// the product's own list is right.
    void checkStartPrivileges(const CIMInstance& registration) const {
        const String path = m_context.prefix + PrivilegeFiles::oopPrivilegeFile(registration);
        m_context.privilegeFiles.insert(path);
        const PlacedFile file(path);
        if (!file.isFile()) {
            add("cannot be started: " + file.problem(),
                file.replacement(LOST) + " && " + registerAgain());
        } else if (!isStartAllowed(registration, file)) {
            add(Format("may not be started as it is registered, but as \"%1\" says", path),
                registerAgain());
        }
        m_context.reportOwnership(path);
    }

    /// Whether the file has what fennik writes for the registration.
    bool isStartAllowed(const CIMInstance& registration, const PlacedFile& file) const {
        String expected;
        try {
            expected = KOVNS2::StartPrivileges::generate(registration, isMonitored(registration));
        } catch (const KOVNS2::FennikException&) {
            return false;
        }
        return file.holds(expected);
    }

    /// The text of this file is the product's own, and the repository does not have it.
    void checkOwnPrivileges(const CIMInstance& registration) const {
        const String installed = PrivilegeFiles::providerPrivilegeFile(registration);
        const String path = m_context.prefix + installed;
        if (!isMonitored(registration)) {
            return;
        }
        m_context.privilegeFiles.insert(path);
        const PlacedFile file(path);
        if (const String problem = problemOf(file, path); !problem.empty()) {
            add("has lost its privileges: " + problem,
                file.replacement(LOST) + " && " + registerAgain());
        }
        if (text(registration, ProviderModel::PRIVILEGES_FILE) != installed) {
            CIMInstance right = registration;
            right.setProperty(ProviderModel::PRIVILEGES_FILE, CIMValue(installed));
            add(Format("is registered with another privilege file, \"%1\"",
                       text(registration, ProviderModel::PRIVILEGES_FILE)),
                m_context.commands.write(right, ProviderModel::INTEROP_NS));
        }
        m_context.reportOwnership(path);
    }

    String problemOf(const PlacedFile& file, const String& path) const {
        if (!file.isFile()) {
            return file.problem();
        }
        if (file.size() == 0) {
            return Format("\"%1\" is empty", path);
        }
        try {
            KOVNS2::verifyPrivileges(file.content(LARGEST_PRIVILEGE_FILE), path, m_context.prefix);
        } catch (const blocxx::Exception& e) {
            const String reason = e.getMessage();
            return reason.find(path) == String::npos ? "\"" + path + "\": " + reason : reason;
        }
        return {};
    }

    Context& m_context;
    const String& m_product;
    const CIMInstance& m_record;
    String m_id;
};

}  // namespace

void checkProviders(Context& context, const String& product) {
    KOVNS2::CleanupActions_t nothingToUndo;
    const KOVNS2::ProviderTarget target{context.handle, product, context.prefix, nothingToUndo};
    for (const CIMInstance& record : KOVNS2::CurrentProviders::records(target)) {
        ProviderCheck(context, product, record).run();
    }
}

}  // namespace KovVerify
