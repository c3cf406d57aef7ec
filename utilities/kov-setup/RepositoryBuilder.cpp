// SPDX-License-Identifier: Apache-2.0
#include "utilities/kov-setup/RepositoryBuilder.hpp"

#include "blocxx/Format.hpp"
#include "openwbem/repository/OpenRepository.hpp"
#include "openwbem/repository/RepositoryStore.hpp"

namespace KovSetup {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)
using blocxx::Format;

void buildRepository(const String& directory, const Schema& schema) {
    CIMRepository::create(directory);
    const OpenRepository opened(directory);
    bringIn(*opened, findDifferences(*opened, schema));
    opened.repository().close();
}

StringArray upgradeRepository(const String& directory, const Schema& schema) {
    const OpenRepository opened(directory, RepositoryUse::UPGRADE);
    opened.repository().check();
    StringArray done;
    if (const int32_t before = opened.repository().store().formatBefore;
        before != RepositoryFormat::VERSION) {
        done.push_back(Format("\"%1\" was brought from format %2 to format %3", directory, before,
                              RepositoryFormat::VERSION));
    }
    const Array<Difference> differences = findDifferences(*opened, schema);
    try {
        const StringArray changes = bringIn(*opened, differences);
        done.insert(done.end(), changes.begin(), changes.end());
    } catch (const blocxx::Exception& e) {
        BLOCXX_THROW(blocxx::Exception,
                     Format("the repository \"%1\" cannot be brought up to date with the "
                            "schema of this version, and nothing was changed in it: %2. "
                            "Remove what stands in the way and run kov-setup again, or "
                            "install the former version again",
                            directory, e.getMessage()));
    }
    opened.repository().close();
    return done;
}

}  // namespace KovSetup
