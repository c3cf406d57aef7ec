// SPDX-License-Identifier: Apache-2.0
//
// Whether one client is the only one that calls. It most likely sends its next call within
// microseconds of the last answer, and waiting for an event would take longer than most operations
// do; while others call as well, nobody is waited for.
#pragma once

namespace OwCimomd {

class Conversation {
public:
    /// Notes a call of the client; true when there has been none of another for a while.
    bool isGoingOnWith(const void* client) noexcept {
        if (client != m_client) {
            m_client = client;
            m_calls = 0;
        }
        m_calls += m_calls < LONG ? 1 : 0;
        return m_calls == LONG;
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
