// SPDX-License-Identifier: Apache-2.0
//
// Whether one client is the only one that calls. It most likely sends its next call within
// microseconds of the last answer, and waiting for an event would take longer than most operations
// do; while others call as well, nobody is waited for.
#pragma once

namespace OwCimomd {

class Conversation {
public:
    /// To be told of every call.
    void note(const void* client) noexcept {
        if (client != m_client) {
            m_client = client;
            m_calls = 0;
        }
        m_calls += m_calls < LONG ? 1 : 0;
    }
    /// Whether the last calls were all this client's.
    bool isGoingOnWith(const void* client) const noexcept {
        return client == m_client && m_calls == LONG;
    }

    /// To be told of a client's end, as the next one may have its address.
    void end(const void* client) noexcept {
        if (client == m_client) {
            m_client = nullptr;
        }
    }

private:
    static constexpr unsigned LONG = 4;

    const void* m_client = nullptr;
    unsigned m_calls = 0;
};

}  // namespace OwCimomd
