// SPDX-License-Identifier: Apache-2.0
//
// The sharing behind the object model's value types: copies share one representation until one of
// them is changed. Not for use across threads.
#pragma once

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <utility>

namespace OpenWBEM {

/// Base of a shared representation.
template <class Derived>
struct CowRep : boost::intrusive_ref_counter<Derived, boost::thread_unsafe_counter> {
    /// Not inlined: taking a representation apart is much code, and in some callers GCC mistakes
    /// the count of one reference for a use of what another has deleted.
    [[gnu::noinline]] friend void intrusive_ptr_release(const CowRep* rep) noexcept {
        using Counter = boost::intrusive_ref_counter<Derived, boost::thread_unsafe_counter>;
        boost::sp_adl_block::intrusive_ptr_release(static_cast<const Counter*>(rep));
    }
};

/// Something worked out from a representation and kept with it. Copies start without it.
template <class T>
class Memo {
public:
    Memo() = default;
    Memo(const Memo& /*other*/) noexcept {}
    Memo& operator=(const Memo&) = delete;

    T value{};
};

/// A handle with value semantics on a Rep that derives from CowRep<Rep>.
template <class Rep>
class CowReference {
public:
    CowReference() noexcept = default;

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    /// For reading: of a handle that has none, one that is as empty as can be.
    const Rep* operator->() const noexcept { return m_rep ? m_rep.get() : &none(); }
    const Rep* get() const noexcept { return m_rep.get(); }

    /// The representation for writing, this handle's own from now on (made when there is none).
    /// What it remembers about its content (forgetMemo(), where it has that) is forgotten.
    Rep& write() {
        if (!m_rep) {
            m_rep.reset(new Rep());
        } else if (m_rep->use_count() > 1) {
            m_rep.reset(new Rep(*m_rep));
        } else if constexpr (requires { m_rep->forgetMemo(); }) {
            m_rep->forgetMemo();
        }
        return *m_rep;
    }

private:
    static const Rep& none() noexcept {
        static const Rep empty = Rep();
        return empty;
    }

    boost::intrusive_ptr<Rep> m_rep;
};

}  // namespace OpenWBEM
