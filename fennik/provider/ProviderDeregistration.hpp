// SPDX-License-Identifier: Apache-2.0
//
// The steps of removing providers, each change with its undo.
#pragma once

#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/ProviderRegistration.hpp"

namespace KOVNS2 {

/// One provider's classes may use those of another, so the classes and qualifier types that are
/// still in use when their provider goes wait until all of them are gone.
class ProviderDeregistration {
public:
    /// The target must outlive it.
    explicit ProviderDeregistration(const ProviderTarget& target) : m_target(target) {}

    /// Removes one provider, except for what has to wait.
    void remove(const OOP1ProviderRegistration& registration);
    /// Removes what had to wait. Throws the failure of what is in use for good.
    void finish();

private:
    void removeSchema(const OOP1ProviderRegistration& registration);

    const ProviderTarget& m_target;
    // What has to wait.
    Array<boost::function<void()>> m_classes;
    Array<boost::function<void()>> m_qualifierTypes;
};

}  // namespace KOVNS2
