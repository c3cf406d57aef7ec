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
using CowRep = boost::intrusive_ref_counter<Derived, boost::thread_unsafe_counter>;

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
    explicit CowReference(Rep* rep) noexcept : m_rep(rep) {}

    explicit operator bool() const noexcept { return static_cast<bool>(m_rep); }
    const Rep& operator*() const noexcept { return *m_rep; }
    const Rep* operator->() const noexcept { return m_rep.get(); }
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
    boost::intrusive_ptr<Rep> m_rep;
};

}  // namespace OpenWBEM
