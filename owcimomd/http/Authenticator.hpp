// SPDX-License-Identifier: Apache-2.0
//
// Finds out who speaks over HTTP: Basic authentication (RFC 7617) against the password file.
// Hashing takes long and is done in a thread of its own, one password after the other.
#pragma once

#include <kj/async.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>

#include "owcimomd/access/AccessControl.hpp"
#include "owcimomd/process/RareReport.hpp"

namespace OwCimomd {

/// Name and password as a client sends them.
struct Credential {
    String user;
    String password;

    /// Of a header Authorization; none when it has another scheme or form.
    static std::optional<Credential> parse(std::string_view authorization);
};

class Authenticator {
public:
    /// Wrong passwords of one user from one address, in a minute.
    static constexpr size_t MAX_FAILURES = 10;
    /// Passwords that wait to be hashed: more than there are connections, so that in a flood of
    /// wrong ones a right one waits for its turn.
    static constexpr size_t MAX_WAITING = 256;

    explicit Authenticator(String passwordFile);
    ~Authenticator();
    Authenticator(const Authenticator&) = delete;
    Authenticator& operator=(const Authenticator&) = delete;

    enum class Verdict : uint8_t {
        RIGHT,
        WRONG,     ///< also for an unknown user, for root and for the daemon's own account
        TOO_MANY,  ///< wrong ones before this one, or passwords that wait
    };
    struct Outcome {
        Verdict verdict;
        User user{};         ///< of RIGHT
        String complaint{};  ///< why no password could be checked
    };
    /// Takes as long for a user who is not known. `address`: where the client is.
    kj::Promise<kj::Own<Outcome>> check(Credential credential, const String& address);

    /// Changes whenever the password file does, so that what was checked before it counts no more.
    String stamp() const;

private:
    struct Job {
        Credential credential;
        String address;
        kj::Own<kj::CrossThreadPromiseFulfiller<kj::Own<Outcome>>> fulfiller;
    };
    using Clock = std::chrono::steady_clock;
    struct Failure {
        Clock::time_point time;
        String user;
        String address;
    };
    void work();
    Outcome judge(const Credential& credential) const;
    Outcome judgeSafely(const Credential& credential) const;
    Job takeJob();
    bool mayTry(const Job& job);
    void note(Failure failure);

    String m_passwordFile;
    RareReport m_complaints;
    // Begins with the first password: by then the process is confined, and a thread has the
    // confinement of the one that begins it.
    std::thread m_thread;
    std::mutex m_mutex;  // guards what follows
    std::condition_variable m_changed;
    std::deque<Job> m_jobs;
    std::deque<Failure> m_failures;
    bool m_isEnding = false;
};

}  // namespace OwCimomd
