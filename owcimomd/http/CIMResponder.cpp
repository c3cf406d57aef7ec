// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/CIMResponder.hpp"

#include <chrono>

#include "blocxx/Format.hpp"

namespace OwCimomd {

namespace {

using Clock = std::chrono::steady_clock;

/// Results are sent when they have grown to so many bytes, or when others have waited for so long.
constexpr size_t PORTION_BYTES = size_t(256) << 10U;
constexpr std::chrono::milliseconds PORTION_TIME{20};

/// A message as the operations want it.
class CIMRequest : public Request {
public:
    explicit CIMRequest(const CIMXML::IntrinsicCall& call) : m_call(call) {}

    const OperationTraits* traits() const override { return &traitsOf(m_call.call().operation); }
    String ns() const override { return m_call.ns(); }
    OperationCall unpack() override {
        OperationCall call = m_call.call();
        // Paths are sent with the instances, and not every instance has all of its keys.
        call.wanted.withPath = true;
        return call;
    }

private:
    const CIMXML::IntrinsicCall& m_call;
};

void append(String& out, const CIMXML::IntrinsicCall& call, const CIMXML::Place& place,
            const Result& result) {
    std::visit(
        [&]<class T>(const T* object) {
            if constexpr (std::is_same_v<T, CIMInstance>) {
                if (object->getPath()) {
                    return appendResult(out, call, place, object->getPath(), *object);
                }
            }
            appendResult(out, call, place, *object);
        },
        result);
}

bool isEnumeration(const CIMXML::IntrinsicCall& call) {
    return traitsOf(call.call().operation).effect == OperationTraits::Effect::ENUMERATES;
}

uint32_t timeoutOf(const CIMXML::PullArguments& arguments) {
    const uint32_t timeout = arguments.operationTimeout.value_or(PullContexts::DEFAULT_TIMEOUT);
    if (timeout == 0 || timeout > PullContexts::LARGEST_TIMEOUT) {
        OPENWBEM_THROW_CIM(INVALID_OPERATION_TIMEOUT,
                           blocxx::Format("OperationTimeout must be from 1 to %1 seconds",
                                          PullContexts::LARGEST_TIMEOUT));
    }
    if (arguments.continueOnError) {
        OPENWBEM_THROW_CIM(CONTINUATION_ON_ERROR_NOT_SUPPORTED,
                           "an enumeration ends with its first error");
    }
    return timeout;
}

}  // namespace

CIMXML::Place CIMResponder::placeOf(const CIMXML::IntrinsicCall& call) const {
    return {m_host, call.ns()};
}

CIMReply CIMResponder::answer(CIMXML::Request message, size_t size) {
    m_size = size;
    const String id = message.id;
    const String method = message.method;
    const bool isExtrinsic = message.isExtrinsic;
    const auto failed = [&](const CIMException& e) {
        return CIMReply{CIMXML::failure(id, method, e, isExtrinsic)};
    };
    try {
        message.ns = m_operations.nameSpaceFor(message.ns);
        return carryOut(id, std::make_shared<CIMXML::IntrinsicCall>(std::move(message)));
    } catch (const CIMException& e) {
        return failed(e);
    } catch (const std::exception& e) {
        return failed(CIMException(__FILE__, __LINE__, CIMException::FAILED, e.what()));
    }
}

CIMReply CIMResponder::carryOut(const String& id, const Call& call) {
    CIMReply reply;
    appendHead(reply.text, id, *call);
    switch (call->pull()) {
        case CIMXML::Pull::NONE:
            break;
        case CIMXML::Pull::OPEN:
            open(reply.text, call);
            return reply;
        case CIMXML::Pull::PULL:
            pull(reply.text, *call);
            return reply;
        case CIMXML::Pull::CLOSE:
            m_contexts.take(m_user, call->ns(), call->pullArguments().enumerationContext);
            appendTail(reply.text, *call);
            return reply;
        case CIMXML::Pull::COUNT:
            OPENWBEM_THROW_CIM(NOT_SUPPORTED, "enumerations are not counted");
    }
    CIMRequest request(*call);
    if (isEnumeration(*call)) {
        reply.rest = std::make_unique<PulledEnumeration>(
            PulledEnumeration{call, m_operations.open(m_user, request)});
        writeMore(reply);
    } else {
        m_operations.carryOut(m_user, request, [&](const Result& result) {
            append(reply.text, *call, placeOf(*call), result);
        });
        appendTail(reply.text, *call);
    }
    return reply;
}

/// Passes results on until others have waited long enough.
void CIMResponder::writeSome(PulledEnumeration& enumeration,
                             const std::function<void(String)>& receive) {
    const auto end = Clock::now() + PORTION_TIME;
    const auto& call = *enumeration.opening;
    const auto place = placeOf(call);
    size_t bytes = 0;
    while (!enumeration.isExhausted && bytes < PORTION_BYTES && Clock::now() < end) {
        const auto write = [&](const Result& result) {
            String text;
            append(text, call, place, result);
            bytes += text.size();
            receive(std::move(text));
        };
        enumeration.isExhausted = !m_operations.next(m_user, enumeration.results, write);
    }
}

void CIMResponder::writeMore(CIMReply& reply) {
    writeSome(*reply.rest, [&](const String& text) { reply.text += text; });
    if (reply.rest->isExhausted) {
        appendTail(reply.text, *reply.rest->opening);
        reply.rest = nullptr;
    }
}

void CIMResponder::fill(String& out, PulledEnumeration& enumeration, size_t count) {
    size_t bytes = 0;
    const auto end = Clock::now() + PORTION_TIME;
    const auto move = [&] {
        for (; count > 0 && !enumeration.written.empty(); --count) {
            bytes += enumeration.written.front().size();
            out += enumeration.written.front();
            enumeration.written.pop_front();
        }
    };
    for (move(); count > 0 && bytes < PORTION_BYTES && Clock::now() < end; move()) {
        if (enumeration.isExhausted) {
            break;
        }
        writeSome(enumeration,
                  [&](String text) { enumeration.written.push_back(std::move(text)); });
    }
}

void CIMResponder::open(String& out, const Call& call) {
    const auto& arguments = call->pullArguments();
    const uint32_t timeout = timeoutOf(arguments);
    CIMRequest request(*call);
    PulledEnumeration enumeration{call, m_operations.open(m_user, request)};
    fill(out, enumeration, arguments.maxObjectCount);
    CIMXML::PullState state{enumeration.isExhausted && enumeration.written.empty(), {}};
    if (!state.isAtEnd) {
        state.enumerationContext = m_contexts.keep(m_user, std::move(enumeration), timeout, m_size);
    }
    appendTail(out, *call, &state);
}

void CIMResponder::pull(String& out, const CIMXML::IntrinsicCall& call) {
    const auto& arguments = call.pullArguments();
    auto [enumeration, timeout] = m_contexts.take(m_user, call.ns(), arguments.enumerationContext);
    CIMXML::PullState state{false, arguments.enumerationContext};
    if (enumeration.opening->form() != call.form()) {
        m_contexts.putBack(m_user, state.enumerationContext, std::move(enumeration), timeout);
        OPENWBEM_THROW_CIM(INVALID_ENUMERATION_CONTEXT,
                           "the enumeration must be pulled with the method that fits its results");
    }
    m_operations.requireStill(m_user, enumeration.results);
    fill(out, enumeration, arguments.maxObjectCount);
    state.isAtEnd = enumeration.isExhausted && enumeration.written.empty();
    if (!state.isAtEnd) {
        m_contexts.putBack(m_user, state.enumerationContext, std::move(enumeration), timeout);
    }
    appendTail(out, call, &state);
}

}  // namespace OwCimomd
