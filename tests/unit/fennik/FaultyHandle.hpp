// SPDX-License-Identifier: Apache-2.0
//
// A handle on a real repository that fails on command: the n-th call, once or from then on, or
// every call of one operation. A call that fails does not reach the repository.
#pragma once

#include <functional>
#include <set>

#include "openwbem/repository/OpenRepository.hpp"

namespace KOVNS2::Testing {

using namespace OpenWBEM;  // NOLINT(google-build-using-namespace)

class FaultyHandle : public RepositoryCIMOMHandle {
public:
    using RepositoryCIMOMHandle::RepositoryCIMOMHandle;

    static constexpr const char* FAULT = "injected fault";

    /// Only the n-th call from now on fails, counted from 1.
    void failCall(unsigned n) { arm(n, false); }
    /// The n-th call from now on and all after it fail.
    void failFromCall(unsigned n) { arm(n, true); }
    /// Every call of that operation fails.
    void failOperation(const String& name) { m_failing.insert(name); }
    /// Every change is carried out, but its answer is lost.
    void loseAnswers(bool lost = true) { m_losesAnswers = lost; }
    /// What a failing call does instead of throwing a CIMException.
    void failBy(std::function<void()> fail) { m_failBy = std::move(fail); }
    /// Is called after each operation that was carried out.
    void afterEach(std::function<void(const OperationCall&)> observe) {
        m_observe = std::move(observe);
    }
    /// How many calls there were since failures were last asked for.
    unsigned calls() const { return m_calls; }
    void failNothing() {
        arm(0, false);
        m_failing.clear();
    }
    /// Whether a call has failed since failures were last asked for.
    bool hasFailed() const { return m_hasFailed; }
    /// The operation that failed last.
    const String& failedOperation() const { return m_failedOperation; }

    void createNameSpace(const String& ns) override {
        check("createNameSpace");
        RepositoryCIMOMHandle::createNameSpace(ns);
    }
    void deleteNameSpace(const String& ns) override {
        check("deleteNameSpace");
        RepositoryCIMOMHandle::deleteNameSpace(ns);
    }
    void enumNameSpace(StringResultHandlerIFC& result) override {
        check("enumNameSpace");
        RepositoryCIMOMHandle::enumNameSpace(result);
    }
    OperationResult carryOut(const OperationCall& call) override {
        check(traitsOf(call.operation).name);
        OperationResult result = RepositoryCIMOMHandle::carryOut(call);
        if (m_observe) {
            m_observe(call);
        }
        if (m_losesAnswers && traitsOf(call.operation).effect == OperationTraits::Effect::CHANGES) {
            throw OutcomeUnknownException("", 0, FAULT);
        }
        return result;
    }
    void commit() override {
        check("commit");
        RepositoryCIMOMHandle::commit();
    }

private:
    void arm(unsigned n, bool onwards) {
        m_failAt = n;
        m_onwards = onwards;
        m_calls = 0;
        m_hasFailed = false;
    }

    void check(const char* operation) {
        ++m_calls;
        const bool reached =
            m_failAt != 0 && (m_calls == m_failAt || (m_onwards && m_calls > m_failAt));
        if (reached || m_failing.contains(operation)) {
            m_hasFailed = true;
            m_failedOperation = operation;
            if (m_failBy) {
                m_failBy();
            }
            // Without a place, so that messages can be compared to the letter.
            throw CIMException("", 0, CIMException::FAILED, FAULT);
        }
    }

    unsigned m_failAt = 0;
    unsigned m_calls = 0;
    bool m_onwards = false;
    bool m_losesAnswers = false;
    bool m_hasFailed = false;
    String m_failedOperation;
    std::set<String> m_failing;
    std::function<void()> m_failBy;
    std::function<void(const OperationCall&)> m_observe;
};

}  // namespace KOVNS2::Testing
