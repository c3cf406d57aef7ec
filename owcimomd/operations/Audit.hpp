// SPDX-License-Identifier: Apache-2.0
//
// The record of who changed what, and of who was refused access: one line in the log each. It names
// objects by their keys; no other property's value gets into the log, since it may be a secret.
#pragma once

#include "openwbem/model/OperationCall.hpp"
#include "owcimomd/access/AccessControl.hpp"
#include "owcimomd/process/RareReport.hpp"

namespace OwCimomd {

/// What a user asks for, as far as it is known yet.
struct Deed {
    const User& user;
    const char* operation;
    bool isChange = false;
    String ns{};
    String object{};  ///< of several, the first one
    size_t objects = 1;
};

/// A name from a client for a line of the log: cut where it is long, in quotes that it cannot
/// leave.
String inQuotes(std::string_view text);
/// The class, qualifier type, or path of the instance that the operation is on.
String objectOf(const OperationCall& call);

class Audit {
public:
    /// A user who may connect has as many refusals, and as many changes that failed, logged a
    /// minute. All who may not connect have as many refusals between them.
    static constexpr size_t MAX_FAILURES = 30;

    explicit Audit(const AccessControl& access) : m_access(access) {}

    void done(const Deed& deed) noexcept;
    /// Carries out `action`. When it throws, records that the access was refused or the change
    /// failed.
    template <class Action>
    auto watch(const Deed& deed, Action&& action) {
        try {
            return action();
        } catch (const CIMException& e) {
            failed(deed, e.getErrNo());
            throw;
        } catch (...) {
            failed(deed, CIMException::FAILED);
            throw;
        }
    }

private:
    struct Limits {
        RareReport refusals{MAX_FAILURES};
        RareReport failures{MAX_FAILURES};
    };
    void failed(const Deed& deed, int code) noexcept;
    Limits& limitsFor(const User& user);

    const AccessControl& m_access;
    Limits m_strangers;
    std::map<uid_t, Limits> m_users;
};

}  // namespace OwCimomd
