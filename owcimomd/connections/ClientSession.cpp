// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/connections/ClientSession.hpp"

#include <capnp/serialize.h>

#include <chrono>

#include "openwbem/model/ObjectStoring.hpp"
#include "openwbem/wire/RpcLimits.hpp"
#include "owcimomd/connections/ReceivedRequest.hpp"
#include "owcimomd/process/Configuration.hpp"

namespace OwCimomd {

namespace {

using Clock = std::chrono::steady_clock;

/// A portion is sent when it has grown to so many bytes, or when others have waited for so long.
constexpr size_t PORTION_BYTES = size_t(256) << 10U;
constexpr std::chrono::milliseconds PORTION_TIME{20};
/// Enumerations that one connection may have under way.
constexpr size_t MAX_ENUMERATIONS = 256;
/// What an open enumeration may take beside its request: some 50 bytes for each class that it is to
/// visit.
constexpr size_t ENUMERATION_BYTES = size_t(32) << 10U;

kj::ArrayPtr<const kj::byte> bytesOf(const String& text) {
    return kj::arrayPtr(reinterpret_cast<const kj::byte*>(text.data()), text.size());
}

String encoded(const Result& result) {
    return std::visit([](const auto* object) { return Codec::encodeView(*object); }, result);
}

/// Leaves the index of the failure as it is.
void setFailure(wire::Failure::Builder failure, int code, const char* message) {
    failure.setCode(static_cast<uint16_t>(code));
    failure.setMessage(message);
}

/// A call is read a few times over, which a hostile one could exceed.
capnp::ReaderOptions limitsFor(kj::ArrayPtr<const capnp::word> call) {
    capnp::ReaderOptions options;
    options.traversalLimitInWords = 4 * call.size() + 1024;
    options.nestingLimit = RpcLimits::NESTING;
    return options;
}

size_t maxCall(const Operations& operations, const User& user, const RequestBudget& budget) {
    if (user.uid == 0) {
        return Configuration::LARGEST_REQUEST_SIZE;
    }
    return operations.access().mayConnect(user) ? budget.maxRequest()
                                                : RpcLimits::MAX_BYTES_STRANGER;
}

}  // namespace

ClientSession::ClientSession(kj::Own<PeerSocket> socket, Operations& operations, User user,
                             RequestBudget& budget)
    : m_socket(kj::mv(socket)),
      m_operations(operations),
      m_user(std::move(user)),
      m_budget(budget),
      m_calls(*m_socket, budget, m_user.uid, maxCall(operations, m_user, budget)) {}

/// After each call the other clients are served.
kj::Promise<void> ClientSession::run() {
    return m_calls.next().then([this](ReceivedCall received) -> kj::Promise<void> {
        if (received.refusal != nullptr) {
            return sendAway(received.refusal);
        }
        if (received.words.size() == 0) {
            return kj::READY_NOW;
        }
        return answer(kj::mv(received)).then([this] {
            return kj::evalLater([this] { return run(); });
        });
    });
}

kj::Promise<void> ClientSession::send(capnp::MessageBuilder& message) {
    auto words = capnp::messageToFlatArray(message);
    auto writing = m_socket->write(words.asBytes());
    return writing.attach(kj::mv(words));
}

kj::Promise<void> ClientSession::sendAway(const char* reason) {
    capnp::MallocMessageBuilder message;
    setFailure(message.initRoot<wire::Answer>().initFailure(), CIMException::FAILED, reason);
    return send(message);
}

kj::Promise<void> ClientSession::answer(ReceivedCall received) {
    capnp::FlatArrayMessageReader call(received.words, limitsFor(received.words));
    m_share = received.share;
    m_size = received.words.asBytes().size();
    KJ_DEFER(m_share = nullptr);
    capnp::MallocMessageBuilder message(RpcLimits::USUAL_WORDS);
    if (!handle(call.getRoot<wire::Call>(), message.initRoot<wire::Answer>())) {
        return kj::READY_NOW;
    }
    return send(message);
}

/// An operation's exception becomes its answer.
bool ClientSession::handle(wire::Call::Reader call, wire::Answer::Builder answer) {
    answer.setId(call.getId());
    if (call.isLeave()) {
        m_enumerations.erase(call.getLeave());
        return false;
    }
    try {
        carryOut(call, answer);
    } catch (const CIMException& e) {
        setFailure(answer.getFailure(), e.getErrorCode(), e.getMessage());
    } catch (const kj::Exception& e) {
        setFailure(answer.getFailure(), CIMException::FAILED, e.getDescription().cStr());
    } catch (const std::exception& e) {
        setFailure(answer.getFailure(), CIMException::FAILED, e.what());
    }
    return true;
}

void ClientSession::carryOut(wire::Call::Reader call, wire::Answer::Builder answer) {
    switch (call.which()) {
        case wire::Call::PING:
            break;
        case wire::Call::CARRY_OUT:
            carryOut(call.getCarryOut(), answer);
            break;
        case wire::Call::ENUMERATE:
            enumerate(call.getEnumerate(), answer);
            break;
        case wire::Call::NEXT:
            next(call.getNext(), answer);
            break;
        case wire::Call::SYNC:
            m_operations.sync(m_user);
            break;
        case wire::Call::STORE:
            store(call.getStore(), answer);
            break;
        default:
            OPENWBEM_THROW_CIM(NOT_SUPPORTED, "this owcimomd does not know the call");
    }
}

void ClientSession::carryOut(wire::Request::Reader request, wire::Answer::Builder answer) {
    ReceivedRequest received(request);
    m_operations.carryOut(m_user, received, [&](const Result& result) {
        answer.setObject(bytesOf(encoded(result)));
    });
}

void ClientSession::store(wire::Storing::Reader storing, wire::Answer::Builder answer) {
    try {
        answer.setStored(
            static_cast<uint32_t>(m_operations.store(m_user, ReceivedObjects(storing))));
    } catch (const ObjectStoringException& e) {
        answer.initFailure().setIndex(static_cast<uint32_t>(e.index()));
        throw;
    }
}

bool ClientSession::putPortion(PermittedEnumeration& enumeration, wire::Answer::Builder answer) {
    StringArray objects;
    size_t bytes = 0;
    bool hasMore = true;
    const auto end = Clock::now() + PORTION_TIME;
    const auto receive = [&](const Result& result) {
        objects.push_back(encoded(result));
        bytes += objects.back().size();
    };
    do {
        hasMore = m_operations.next(m_user, enumeration, receive);
    } while (hasMore && bytes < PORTION_BYTES && Clock::now() < end);
    auto portion = answer.initPortion();
    portion.setIsLast(!hasMore);
    auto list = portion.initObjects(static_cast<unsigned>(objects.size()));
    for (unsigned i = 0; i < list.size(); ++i) {
        list.set(i, bytesOf(objects[i]));
    }
    return hasMore;
}

void ClientSession::enumerate(wire::Request::Reader request, wire::Answer::Builder answer) {
    if (m_enumerations.size() >= MAX_ENUMERATIONS) {
        OPENWBEM_THROW_CIM(FAILED, "too many enumerations are under way at once");
    }
    ReceivedRequest received(request);
    auto enumeration = m_operations.open(m_user, received);
    if (putPortion(enumeration, answer)) {
        // A small request has none yet. A user could have very many of them open.
        auto share = m_share ? m_share : m_budget.take(m_user.uid, m_size + ENUMERATION_BYTES);
        if (!share) {
            OPENWBEM_THROW_CIM(FAILED,
                               "the enumerations of this user that are under way take too "
                               "much memory");
        }
        answer.setEnumeration(++m_lastNumber);
        m_enumerations.insert_or_assign(m_lastNumber,
                                        OpenEnumeration{std::move(enumeration), std::move(share)});
    }
}

/// An enumeration that fails or has delivered its last portion is closed.
void ClientSession::next(uint32_t number, wire::Answer::Builder answer) {
    auto node = m_enumerations.extract(number);
    if (node.empty()) {
        OPENWBEM_THROW_CIM(INVALID_PARAMETER, "the enumeration is over");
    }
    if (putPortion(node.mapped().results, answer)) {
        answer.setEnumeration(number);
        m_enumerations.insert(std::move(node));
    }
}

}  // namespace OwCimomd
