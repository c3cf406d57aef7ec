// SPDX-License-Identifier: Apache-2.0
#include "openwbem/client/ClientConnection.hpp"

#include <map>
#include <set>

#include "blocxx/Format.hpp"
#include "blocxx/Interruption.hpp"
#include "openwbem/client/ClientSocket.hpp"
#include "openwbem/wire/CIMCodec.hpp"
#include "openwbem/wire/RpcLimits.hpp"

namespace OpenWBEM {

using blocxx::Format;
using blocxx::Timeout;

namespace {

/// How long a daemon that takes no more calls is listened to. What it says has been sent by then.
constexpr Timeout LAST_WORD = Timeout::relative(std::chrono::seconds(1));

/// The most that an enumeration may bring: a hostile daemon could send portions without end. Each
/// counts as if it were at least a page long.
constexpr uint64_t MAX_ENUMERATION_WORDS = RpcLimits::MAX_WORDS;
constexpr uint64_t MIN_PORTION_WORDS = 512;

void setText(const String& text, auto setter) {
    if (!text.empty()) {
        setter(capnp::Text::Reader(text.data(), text.size()));
    }
}

kj::ArrayPtr<const kj::byte> bytesOf(const String& encoded) {
    return kj::arrayPtr(reinterpret_cast<const kj::byte*>(encoded.data()), encoded.size());
}

void fillOperand(wire::Request::Builder /*out*/, std::monostate /*none*/) {}

void fillOperand(wire::Request::Builder out, const String* name) {
    setText(*name, [&](auto text) { out.setName(text); });
}

template <class Object>
void fillOperand(wire::Request::Builder out, const Object* object) {
    out.setObject(bytesOf(Codec::operand([&] { return Codec::encodeView(*object); })));
}

void fill(wire::Request::Builder out, const OperationCall& call) {
    out.setOperation(static_cast<wire::Operation>(call.operation));
    setText(call.ns, [&](auto text) { out.setNameSpace(text); });
    std::visit([&](auto operand) { fillOperand(out, operand); }, call.operand);
    out.setDeep(call.deep == E_DEEP);
    out.setLocalOnly(call.wanted.localOnly == E_LOCAL_ONLY);
    out.setIncludeQualifiers(call.wanted.qualifiers == E_INCLUDE_QUALIFIERS);
    out.setIncludeClassOrigin(call.wanted.classOrigin == E_INCLUDE_CLASS_ORIGIN);
    if (const StringArray* names = call.wanted.propertyList) {
        out.setHasPropertyList(true);
        auto list = out.initPropertyList(static_cast<unsigned>(names->size()));
        for (unsigned i = 0; i < list.size(); ++i) {
            list.set(i, (*names)[i]);
        }
    }
    if (call.filter != nullptr) {
        setText(call.filter->assocClass, [&](auto text) { out.setAssocClass(text); });
        setText(call.filter->resultClass, [&](auto text) { out.setResultClass(text); });
        setText(call.filter->role, [&](auto text) { out.setRole(text); });
        setText(call.filter->resultRole, [&](auto text) { out.setResultRole(text); });
    }
}

void fill(capnp::List<capnp::Data>::Builder out, const StringArray& objects) {
    for (unsigned i = 0; i < out.size(); ++i) {
        out.set(i, bytesOf(objects[i]));
    }
}

void fill(wire::Storing::Builder out, const ClientStoring& storing) {
    const auto size = [](const StringArray& objects) {
        return static_cast<unsigned>(objects.size());
    };
    setText(storing.ns, [&](auto text) { out.setNameSpace(text); });
    fill(out.initQualifierTypes(size(storing.qualifierTypes)), storing.qualifierTypes);
    fill(out.initClasses(size(storing.classes)), storing.classes);
    fill(out.initInstances(size(storing.instances)), storing.instances);
}

/// Throws the CIMException that the daemon reports, if any.
void raiseIfFailed(wire::Failure::Reader failure) {
    if (failure.getCode() == 0) {
        return;
    }
    const auto text = failure.getMessage();
    throw CIMException(__FILE__, __LINE__, static_cast<CIMException::ErrNoType>(failure.getCode()),
                       String(text.begin(), text.size()));
}

ClientConnection::Bytes bytesOf(capnp::Data::Reader data) {
    return {reinterpret_cast<const std::byte*>(data.begin()), data.size()};
}

void handOver(wire::Portion::Reader portion,
              const std::function<void(ClientConnection::Bytes)>& visit) {
    for (const auto object : portion.getObjects()) {
        visit(bytesOf(object));
    }
}

}  // namespace

/// One connection, from connecting to its loss. Answers arrive in the order of the calls. A portion
/// that was requested ahead may be in flight while other calls are made.
class ClientConnection::Session {
public:
    using Message = kj::Own<capnp::MessageReader>;

    Session(const String& path, Patience& patience)
        : m_patience(patience), m_socket(path, patience) {}

    bool isBroken() const noexcept { return m_isBroken; }

    uint64_t send(const std::function<void(wire::Call::Builder)>& fill, bool isAnswered = true) {
        requireSound();
        capnp::MallocMessageBuilder message(RpcLimits::USUAL_WORDS);
        auto call = message.initRoot<wire::Call>();
        call.setId(m_lastId + 1);
        fill(call);
        const auto words = capnp::messageToFlatArray(message);
        auto bytes = words.asChars();
        kj::ArrayPtr<const char> rest(bytes.begin(), bytes.size());
        m_socket.beginSending();
        while (rest.size() > 0) {
            sendSome(rest);
        }
        ++m_lastId;
        m_expected += isAnswered ? 1 : 0;
        return m_lastId;
    }

    Message await(uint64_t id) {
        while (m_early.count(id) == 0) {
            receive();
        }
        auto node = m_early.extract(id);
        return kj::mv(node.mapped());
    }

    /// The answer will not be awaited.
    void forget(uint64_t id) {
        if (m_early.erase(id) == 0) {
            m_forgotten.insert(id);
        }
    }

private:
    void sendSome(kj::ArrayPtr<const char>& bytes) {
        try {
            if (!m_socket.trySend(bytes)) {
                makeRoom();
            }
        } catch (const BrokenConnection&) {
            raiseLastWord();
            throw;
        }
    }

    /// The daemon says why before it disconnects a client that may still be sending.
    void raiseLastWord() {
        m_patience.setLimit(LAST_WORD);
        try {
            while (true) {
                receive();
            }
        } catch (const BrokenConnection&) {  // NOLINT(bugprone-empty-catch): it said nothing
        } catch (const kj::Exception&) {     // NOLINT(bugprone-empty-catch): nor now
        }
    }

    /// The daemon reads no call until its last answer has been received.
    void makeRoom() {
        if (m_expected > 0) {
            receive();
        } else {
            m_socket.waitUntilSendable();
        }
    }

    /// After a failure it is unknown where the next answer begins.
    void requireSound() const {
        if (m_isBroken) {
            throw BrokenConnection{"an earlier call has broken it"};
        }
    }

    /// Unrequested answers would fill memory, and keep signals from being noticed.
    void receive() {
        blocxx::Interruption::check();
        requireSound();
        m_isBroken = true;
        Message message = m_socket.receive();
        const auto answer = message->getRoot<wire::Answer>();
        const uint64_t id = answer.getId();
        if (id == 0) {
            raiseIfFailed(answer.getFailure());
        }
        if (m_expected == 0 || id > m_lastId) {
            throw BrokenConnection{"the daemon has answered what nobody asked"};
        }
        m_isBroken = false;
        --m_expected;
        if (m_forgotten.erase(id) == 0) {
            m_early.insert_or_assign(id, kj::mv(message));
        }
    }

    Patience& m_patience;
    ClientSocket m_socket;
    uint64_t m_lastId = 0;
    size_t m_expected = 0;
    bool m_isBroken = false;
    std::map<uint64_t, Message> m_early;
    std::set<uint64_t> m_forgotten;
};

ClientConnection::ClientConnection(String socketPath) : m_path(std::move(socketPath)) {}

ClientConnection::~ClientConnection() = default;

/// Reconnects when the connection was lost since the last call: nothing has been sent yet.
uint64_t ClientConnection::send(const std::function<void(wire::Call::Builder)>& fill,
                                const Timeout& timeout) {
    m_patience.setLimit(timeout);
    if (m_session) {
        try {
            return m_session->send(fill);
        } catch (const BrokenConnection& broken) {
            if (!broken.nothingWasSent) {
                throw;
            }
        }
    }
    // The lost connection may hold the last free descriptor.
    m_session.reset();
    m_patience.setLimit(timeout);
    m_session = std::make_shared<Session>(m_path, m_patience);
    return m_session->send(fill);
}

void ClientConnection::fail(const char* reason) {
    m_session.reset();
    throw OutcomeUnknownException(__FILE__, __LINE__,
                                  Format("The connection to owcimomd at \"%1\" failed: %2. Whether "
                                         "the operation was carried out is not known",
                                         m_path, reason));
}

/// Runs `action`. Turns the loss of the connection into the exception of the call.
template <class Action>
auto ClientConnection::guarded(Action action) {
    try {
        return action();
    } catch (const CIMException&) {
        if (m_session && m_session->isBroken()) {
            m_session.reset();
        }
        throw;
    } catch (const BrokenConnection& broken) {
        fail(broken.reason);
    } catch (const kj::Exception& e) {
        fail(e.getDescription().cStr());
    } catch (const blocxx::InterruptedException&) {
        // The answer may still arrive: undo steps need a new connection.
        m_session.reset();
        throw;
    }
}

void ClientConnection::ping(const Timeout& timeout) {
    call([](wire::Call::Builder call) { call.setPing(); }, timeout);
}

void ClientConnection::sync(const Timeout& timeout) {
    call([](wire::Call::Builder call) { call.setSync(); }, timeout);
}

void ClientConnection::call(const std::function<void(wire::Call::Builder)>& fill,
                            const Timeout& timeout) {
    guarded([&] {
        const uint64_t id = send(fill, timeout);
        auto message = m_session->await(id);
        raiseIfFailed(message->getRoot<wire::Answer>().getFailure());
    });
}

String ClientConnection::carryOut(const OperationCall& call, const Timeout& timeout) {
    return guarded([&] {
        const uint64_t id =
            send([&](wire::Call::Builder out) { fill(out.initCarryOut(), call); }, timeout);
        auto message = m_session->await(id);
        const auto answer = message->getRoot<wire::Answer>();
        raiseIfFailed(answer.getFailure());
        const auto object = answer.getObject();
        return String(reinterpret_cast<const char*>(object.begin()), object.size());
    });
}

size_t ClientConnection::store(const ClientStoring& storing, const Timeout& timeout) {
    return guarded([&] {
        const uint64_t id =
            send([&](wire::Call::Builder out) { fill(out.initStore(), storing); }, timeout);
        auto message = m_session->await(id);
        const auto answer = message->getRoot<wire::Answer>();
        const auto failure = answer.getFailure();
        try {
            raiseIfFailed(failure);
        } catch (const CIMException& e) {
            if (failure.getIndex() >= storing.size()) {
                throw;
            }
            throw ObjectStoringException(failure.getIndex(), e);
        }
        const size_t stored = answer.getStored();
        if (stored == 0 || stored > storing.size()) {
            throw BrokenConnection{"the daemon has stored what nobody asked for, or nothing"};
        }
        return stored;
    });
}

/// An open enumeration. While the caller processes one portion, the next one is in flight. When the
/// caller abandons the enumeration, the daemon is told.
class ClientConnection::Enumerating {
public:
    Enumerating(std::shared_ptr<Session> session, uint64_t first)
        : m_session(std::move(session)), m_ahead(first) {}
    ~Enumerating() {
        if (m_ahead == 0) {
            return;
        }
        try {
            m_session->forget(m_ahead);
            m_session->send([this](wire::Call::Builder call) { call.setLeave(m_number); }, false);
        } catch (...) {  // NOLINT(bugprone-empty-catch): with the connection it is over, too
        }
    }
    Enumerating(const Enumerating&) = delete;
    Enumerating& operator=(const Enumerating&) = delete;

    /// False after the last portion.
    bool next(const std::function<void(Bytes)>& visit) {
        auto message = m_session->await(std::exchange(m_ahead, 0));
        m_words += std::max<uint64_t>(message->sizeInWords(), MIN_PORTION_WORDS);
        if (m_words > MAX_ENUMERATION_WORDS) {
            throw BrokenConnection{"the daemon does not end its answer"};
        }
        const auto answer = message->getRoot<wire::Answer>();
        raiseIfFailed(answer.getFailure());
        if (!answer.getPortion().getIsLast()) {
            m_number = answer.getEnumeration();
            m_ahead = m_session->send([this](wire::Call::Builder call) { call.setNext(m_number); });
        }
        handOver(answer.getPortion(), visit);
        return m_ahead != 0;
    }

private:
    std::shared_ptr<Session> m_session;
    uint64_t m_ahead;
    uint64_t m_words = 0;
    uint32_t m_number = 0;
};

void ClientConnection::enumerate(const OperationCall& call, const Timeout& timeout,
                                 const std::function<void(Bytes)>& visit) {
    guarded([&] {
        const uint64_t id =
            send([&](wire::Call::Builder out) { fill(out.initEnumerate(), call); }, timeout);
        Enumerating enumerating(m_session, id);
        while (enumerating.next(visit)) {
        }
    });
}

}  // namespace OpenWBEM
