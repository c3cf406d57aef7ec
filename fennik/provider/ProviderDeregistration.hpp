// SPDX-License-Identifier: Apache-2.0
//
// The steps of removing providers. Each change pushes its undo step.
#pragma once

#include "fennik/provider/ProviderModel.hpp"
#include "fennik/provider/ProviderRegistration.hpp"

namespace KOVNS2 {

/// Removes providers. One provider's classes may use those of another, so classes and qualifier
/// types that are still in use are kept until finish().
class ProviderDeregistration {
public:
    /// The target must outlive it.
    explicit ProviderDeregistration(const ProviderTarget& target) : m_target(target) {}

    /// Removes one provider, except for classes and qualifier types that are still in use.
    void remove(const OOP1ProviderRegistration& registration);
    /// Removes what remove() kept. Throws the CIMException for what is still in use.
    void finish();

private:
    void removeSchema(const OOP1ProviderRegistration& registration);

    const ProviderTarget& m_target;
    // The removals that are left to finish().
    Array<boost::function<void()>> m_classes;
    Array<boost::function<void()>> m_qualifierTypes;
};

}  // namespace KOVNS2
