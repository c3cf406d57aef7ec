// SPDX-License-Identifier: Apache-2.0
//
// References to objects that carry their own count. The count is not atomic: an object and all
// references to it belong to one thread.
#pragma once

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <utility>

#include "blocxx/Exception.hpp"

namespace blocxx {

/// Base of everything that an IntrusiveReference can hold.
class IntrusiveCountableBase
    : public boost::intrusive_ref_counter<IntrusiveCountableBase, boost::thread_unsafe_counter> {
public:
    virtual ~IntrusiveCountableBase() = default;

protected:
    IntrusiveCountableBase() = default;
    IntrusiveCountableBase(const IntrusiveCountableBase&) = default;
    IntrusiveCountableBase& operator=(const IntrusiveCountableBase&) = default;
};

BLOCXX_DECLARE_EXCEPTION(NULLReference)

/// A shared reference. `*` and `->` throw NULLReferenceException when it is null.
template <class T>
class IntrusiveReference {
public:
    IntrusiveReference() noexcept = default;
    /// Shares the ownership of `object`, which may be null.
    IntrusiveReference(T* object) noexcept
        : m_object(object) {}  // NOLINT(google-explicit-constructor)
    template <class U>
    IntrusiveReference(
        const IntrusiveReference<U>& other) noexcept  // NOLINT(google-explicit-constructor)
        : m_object(other.get()) {}

    T* get() const noexcept { return m_object.get(); }
    explicit operator bool() const noexcept { return static_cast<bool>(m_object); }
    T* operator->() const { return checked(); }
    T& operator*() const { return *checked(); }

    /// The same object as a U, or a null reference when it is not one.
    template <class U>
    IntrusiveReference<U> castTo() const {
        return IntrusiveReference<U>(dynamic_cast<U*>(m_object.get()));
    }

    friend bool operator==(const IntrusiveReference& a, const IntrusiveReference& b) noexcept {
        return a.get() == b.get();
    }

private:
    T* checked() const {
        if (!m_object) {
            BLOCXX_THROW(NULLReferenceException, "A null reference was followed");
        }
        return m_object.get();
    }

    boost::intrusive_ptr<T> m_object;
};

}  // namespace blocxx
