// SPDX-License-Identifier: Apache-2.0
//
// Copy-on-write for the value types of the object model: copies share one representation until one
// of them is changed. Not thread-safe.
#pragma once

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <utility>

namespace OpenWBEM {

/// Base of a shared representation.
template <class Derived>
struct CowRep : boost::intrusive_ref_counter<Derived, boost::thread_unsafe_counter> {
    /// Not inlined: destroying a representation is much code, and in some callers GCC wrongly warns
    /// of a use after free.
    [[gnu::noinline]] friend void intrusive_ptr_release(const CowRep* rep) noexcept {
        using Counter = boost::intrusive_ref_counter<Derived, boost::thread_unsafe_counter>;
        boost::sp_adl_block::intrusive_ptr_release(static_cast<const Counter*>(rep));
    }
};

/// Caches a value that is computed from a representation. Copies start without it.
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
    /// The representation for reading; an empty one when the handle has none.
    const Rep* operator->() const noexcept { return m_rep ? m_rep.get() : &none(); }
    const Rep* get() const noexcept { return m_rep.get(); }

    /// The representation for writing, which this handle shares with no other from now on. Creates
    /// it when there is none. Clears its caches (forgetMemo(), if it has that).
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
