// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/ClientSession.hpp"

#include <memory>
#include <utility>

#include "blocxx/Format.hpp"
#include "openwbem/wire/RpcLimits.hpp"

namespace OwCimomd {

namespace {

/// A portion is sent when it has grown to so many bytes, or so many steps have found little.
constexpr size_t PORTION_BYTES = 256 * 1024;
constexpr unsigned PORTION_STEPS = 64;
/// Enumerations that one connection may have under way.
constexpr unsigned MAX_CURSORS = 256;

/// Who is at the other end. Shared by what the connection hands out.
struct Client {
    Operations& operations;
    User user;
    unsigned cursors = 0;
};
using ClientRef = std::shared_ptr<Client>;

kj::ArrayPtr<const kj::byte> bytesOf(const String& text) {
    return kj::arrayPtr(reinterpret_cast<const kj::byte*>(text.data()), text.size());
}

void setFailure(wire::Failure::Builder failure, int code, const char* message) {
    failure.setCode(static_cast<uint16_t>(code));
    failure.setMessage(message);
}

/// Runs `action`; whatever it throws becomes the failure in the results.
template <class Results, class Action>
kj::Promise<void> answer(Results results, Action action) {
    try {
        action(results);
    } catch (const CIMException& e) {
        setFailure(results.initFailure(), e.getErrorCode(), e.getMessage());
    } catch (const kj::Exception& e) {
        setFailure(results.initFailure(), CIMException::FAILED, e.getDescription().cStr());
    } catch (const std::exception& e) {
        setFailure(results.initFailure(), CIMException::FAILED, e.what());
    }
    return kj::READY_NOW;
}

/// Collects a portion. False when it is the last one.
bool collect(Client& client, EncodedEnumeration& enumeration, StringArray& portion) {
    size_t counted = 0;
    size_t bytes = 0;
    for (unsigned step = 0; step < PORTION_STEPS && bytes < PORTION_BYTES; ++step) {
        if (!client.operations.next(client.user, enumeration, portion)) {
            return false;
        }
        for (; counted < portion.size(); ++counted) {
            bytes += portion[counted].size();
        }
    }
    return true;
}

/// Returns whether there is more.
bool putPortion(wire::Portion::Builder out, Client& client, EncodedEnumeration& enumeration) {
    StringArray portion;
    const bool hasMore = collect(client, enumeration, portion);
    out.setIsLast(!hasMore);
    auto list = out.initObjects(static_cast<unsigned>(portion.size()));
    for (unsigned i = 0; i < list.size(); ++i) {
        list.set(i, bytesOf(portion[i]));
    }
    return hasMore;
}

class CursorServer final : public wire::Cursor::Server {
public:
    CursorServer(ClientRef client, std::unique_ptr<EncodedEnumeration> rest)
        : m_client(std::move(client)), m_rest(std::move(rest)) {
        ++m_client->cursors;
    }
    ~CursorServer() { --m_client->cursors; }
    KJ_DISALLOW_COPY(CursorServer);

    kj::Promise<void> next(NextContext context) override {
        return answer(context.getResults(), [this](NextResults::Builder results) {
            // One that fails has no next portion, so it is put back only afterwards.
            auto rest = std::exchange(m_rest, nullptr);
            if (!rest) {
                OPENWBEM_THROW_CIM(INVALID_PARAMETER, "the enumeration is over");
            }
            if (putPortion(results.initPortion(), *m_client, *rest)) {
                m_rest = std::move(rest);
            }
        });
    }

private:
    using NextResults = wire::Cursor::NextResults;

    ClientRef m_client;
    std::unique_ptr<EncodedEnumeration> m_rest;
};

class ObjectManagerServer final : public wire::ObjectManager::Server {
public:
    explicit ObjectManagerServer(ClientRef client) : m_client(std::move(client)) {}

    kj::Promise<void> ping(PingContext /*context*/) override { return kj::READY_NOW; }

    kj::Promise<void> carryOut(CarryOutContext context) override {
        return answer(context.getResults(), [&](wire::ObjectManager::CarryOutResults::Builder out) {
            const String result =
                m_client->operations.carryOut(m_client->user, context.getParams().getRequest());
            out.setObject(bytesOf(result));
        });
    }

    kj::Promise<void> enumerate(EnumerateContext context) override {
        return answer(
            context.getResults(), [&](wire::ObjectManager::EnumerateResults::Builder out) {
                if (m_client->cursors >= MAX_CURSORS) {
                    OPENWBEM_THROW_CIM(FAILED, "too many enumerations are under way at once");
                }
                auto rest =
                    m_client->operations.open(m_client->user, context.getParams().getRequest());
                if (putPortion(out.initPortion(), *m_client, *rest)) {
                    out.setRest(kj::heap<CursorServer>(m_client, std::move(rest)));
                }
            });
    }

private:
    ClientRef m_client;
};

capnp::ReaderOptions limitsFor(const Operations& operations, const User& user) {
    capnp::ReaderOptions options;
    options.traversalLimitInWords =
        operations.access().mayConnect(user) ? RpcLimits::MAX_WORDS : RpcLimits::MAX_WORDS_STRANGER;
    options.nestingLimit = RpcLimits::NESTING;
    return options;
}

}  // namespace

ClientSession::ClientSession(kj::Own<kj::AsyncIoStream> stream, Operations& operations,
                             const User& user)
    : m_stream(kj::mv(stream)),
      m_network(m_stream, capnp::rpc::twoparty::Side::SERVER, limitsFor(operations, user)),
      m_rpc(capnp::makeRpcServer(m_network, kj::heap<ObjectManagerServer>(std::make_shared<Client>(
                                                Client{operations, user})))) {}

}  // namespace OwCimomd
