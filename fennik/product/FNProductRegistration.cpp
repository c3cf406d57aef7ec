// SPDX-License-Identifier: Apache-2.0
#include "fennik/product/FNProductRegistration.hpp"

#include <boost/bind/bind.hpp>
#include <cerrno>
#include <cstring>

#include "blocxx/FileSystem.hpp"
#include "fennik/product/ProductPaths.hpp"
#include "fennik/undo/FNCleanupActions.hpp"
#include "fennik/undo/FennikException.hpp"
#include "fennik/undo/UnitLog.hpp"

namespace KOVNS2 {

using namespace OpenWBEM::WBEMFlags;
using blocxx::Format;
using OpenWBEM::CIMException;
using OpenWBEM::CIMObjectPath;
using OpenWBEM::CIMOMHandleIFCRef;
using OpenWBEM::CIMValue;

namespace {

constexpr const char* KOV_NS = "kov";
constexpr const char* PRODUCT_CLASS = "KOV_Product";

UnitLog log() {
    return UnitLog("ProductRegistration: ");
}

OpenWBEM::CIMInstance newProduct(OpenWBEM::CIMOMHandleIFC& handle, const String& productName,
                                 const StringArray& userNames) {
    OpenWBEM::CIMInstance product = handle
                                        .getClass(KOV_NS, PRODUCT_CLASS, E_NOT_LOCAL_ONLY,
                                                  E_INCLUDE_QUALIFIERS, E_INCLUDE_CLASS_ORIGIN)
                                        .newInstance();
    product.setProperty("Name", CIMValue(productName));
    product.setProperty("Usernames", CIMValue::array<String>(userNames));
    return product;
}

CIMObjectPath createProduct(OpenWBEM::CIMOMHandleIFC& handle,
                            const OpenWBEM::CIMInstance& product) {
    try {
        return handle.createInstance(KOV_NS, product);
    } catch (const CIMException& e) {
        if (e.getErrNo() != CIMException::ALREADY_EXISTS) {
            throw;
        }
        throw FennikException(__FILE__, __LINE__, "The product has already been registered.", 2,
                              &e);
    }
}

/// Throws that message with the system's reason, as errno has it, for its cause.
[[noreturn]] void throwFileFailure(const char* message, const String& path, int errorCode) {
    const int errnum = errno;
    const blocxx::FileSystemException reason(__FILE__, __LINE__, std::strerror(errnum), errnum);
    throw FennikException(__FILE__, __LINE__, Format(message, path).c_str(), errorCode, &reason);
}

blocxx::File createAllowedUsersFile(const String& productName, const String& path) {
    blocxx::File file;
    errno = EINVAL;
    if (ProductPaths::canNameFile(productName)) {
        file = blocxx::FileSystem::createFile(path);
    }
    if (!file) {
        throwFileFailure("Failed to create %1", path, 12);
    }
    return file;
}

void writeAndClose(blocxx::File& file, const String& path, const String& content) {
    errno = ENOSPC;  // what a short count means, which sets none
    if (file.write(content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
        throwFileFailure("Failed to write contents of %1", path, 13);
    }
    if (file.flush() != 0) {
        throwFileFailure("Failed to flush %1", path, 13);
    }
    if (file && file.close() != 0) {
        throwFileFailure("Failed to close %1", path, 13);
    }
}

String allowedUsersLine(const StringArray& userNames) {
    String line = "owcimomd.allowed_users =";
    for (const String& user : userNames) {
        line += " " + user;
    }
    return line + "\n";
}

void writeAllowedUsersFile(const String& productName, const StringArray& userNames,
                           const String& prefix, CleanupActions_t& undo) {
    const String path = ProductPaths::allowedUsersFile(productName, prefix);
    log().debug("Creating allowed users file: \"%1\"", path);
    blocxx::File file = createAllowedUsersFile(productName, path);
    undo.push_back(boost::bind(&closeAndDeleteAllowedUsersFile, file, path));
    writeAndClose(file, path, allowedUsersLine(userNames));
}

/// Appends the key of each product's path, its name.
class ProductNameOutputter : public OpenWBEM::CIMObjectPathResultHandlerIFC {
public:
    explicit ProductNameOutputter(StringArray& names) : m_names(names) {}

protected:
    void doHandle(const CIMObjectPath& path) override {
        m_names.push_back(path.getKeys().at(0).getValue().toString());
    }

private:
    StringArray& m_names;
};

}  // namespace

// 1. the instance, uncommitted; 2. the file; 3. the commit, which is the commit point of the whole
// registration: a run that dies before it leaves at most a file that the next attempt to register
// names in its error.
void registerProduct(const CIMOMHandleIFCRef& handle, const String& productName,
                     const StringArray& userNames, const String& prefix) {
    log().debug("Registering product \"%1\"", productName);
    const OpenWBEM::CIMInstance product = newProduct(*handle, productName, userNames);
    CleanupActions_t undo;
    undoOnFailure(undo, [&] {
        const CIMObjectPath path = createProduct(*handle, product);
        undo.push_back(boost::bind(&deleteInstance, boost::ref(*handle), String(KOV_NS), path));
        writeAllowedUsersFile(productName, userNames, prefix, undo);
        handle->commit();
    });
}

StringArray listRegisteredProducts(const CIMOMHandleIFCRef& handle) {
    log().debug("Getting list of registered products");
    StringArray names;
    ProductNameOutputter outputter(names);
    handle->enumInstanceNames(KOV_NS, PRODUCT_CLASS, outputter);
    return names;
}

}  // namespace KOVNS2
