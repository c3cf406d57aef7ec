// SPDX-License-Identifier: Apache-2.0
#include "owcimomd/http/Authenticator.hpp"

#include <kj/encoding.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "blocxx/Format.hpp"
#include "credentials/Hash.hpp"
#include "credentials/PasswordFile.hpp"
#include "owcimomd/process/Account.hpp"

namespace OwCimomd {

using blocxx::Format;

namespace {

constexpr std::string_view SCHEME = "Basic ";
/// Above what a name and a password may have, encoded.
constexpr size_t MAX_ENCODED = 1024;
constexpr std::chrono::minutes MEMORY{1};
/// Of all users and addresses.
constexpr size_t MAX_REMEMBERED = 4096;

}  // namespace

std::optional<Credential> Credential::parse(std::string_view authorization) {
    if (authorization.size() > MAX_ENCODED ||
        !blocxx::equalsIgnoreCase(authorization.substr(0, SCHEME.size()), SCHEME)) {
        return std::nullopt;
    }
    authorization.remove_prefix(SCHEME.size());
    const auto decoded = kj::decodeBase64(kj::arrayPtr(authorization.data(), authorization.size()));
    const std::string_view text(reinterpret_cast<const char*>(decoded.begin()), decoded.size());
    const size_t colon = text.find(':');
    if (decoded.hadErrors || colon == std::string_view::npos) {
        return std::nullopt;
    }
    return Credential{String(text.substr(0, colon)), String(text.substr(colon + 1))};
}

Authenticator::Authenticator(String passwordFile) : m_passwordFile(std::move(passwordFile)) {}

Authenticator::~Authenticator() {
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Authenticator::work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isEnding || !m_jobs.empty(); });
        if (m_isEnding) {
            return;
        }
        Job job = takeJob();
        // Each try is counted before the next one is judged, however many come at once.
        Outcome outcome{Verdict::TOO_MANY};
        if (job.fulfiller->isWaiting() && mayTry(job)) {
            lock.unlock();
            outcome = judgeSafely(job.credential);
            lock.lock();
        }
        if (outcome.verdict == Verdict::WRONG) {
            note({Clock::now(), job.credential.user, job.address});
        }
        Credentials::wipe(job.credential.password);
        job.fulfiller->fulfill(kj::heap<Outcome>(std::move(outcome)));
    }
}

Authenticator::Outcome Authenticator::judgeSafely(const Credential& credential) const {
    try {
        return judge(credential);
    } catch (const std::exception& e) {
        return {Verdict::WRONG, {}, e.what()};
    }
}

/// A file that is not there, or cannot be used, costs as much as a wrong password.
Authenticator::Outcome Authenticator::judge(const Credential& credential) const {
    Credentials::PasswordFile file;
    Outcome wrong{Verdict::WRONG};
    try {
        file = Credentials::PasswordFile::read(m_passwordFile);
    } catch (const blocxx::Exception& e) {
        wrong.complaint = e.getMessage();
    }
    const String* hash = file.hashOf(credential.user);
    const bool isRight = Credentials::matches(hash, credential.password);
    const auto uid = userId(credential.user);
    if (!isRight || !uid || *uid == 0 || *uid == geteuid()) {
        return wrong;
    }
    return {Verdict::RIGHT, User{*uid, credential.user}, {}};
}

/// The oldest of the address that has sent the fewest wrong passwords: a flood of them from one
/// address does not make those from another one wait.
Authenticator::Job Authenticator::takeJob() {
    std::map<String, size_t> failures;
    for (const Failure& failure : m_failures) {
        ++failures[failure.address];
    }
    const auto next =
        std::ranges::min_element(m_jobs, {}, [&](const Job& job) { return failures[job.address]; });
    Job job = std::move(*next);
    m_jobs.erase(next);
    return job;
}

bool Authenticator::mayTry(const Job& job) {
    while (!m_failures.empty() && m_failures.front().time + MEMORY < Clock::now()) {
        m_failures.pop_front();
    }
    const auto isSame = [&](const Failure& failure) {
        return failure.user == job.credential.user && failure.address == job.address;
    };
    return size_t(std::count_if(m_failures.begin(), m_failures.end(), isSame)) < MAX_FAILURES;
}

/// Where there are too many, the oldest are forgotten: wrong passwords must not keep right ones of
/// other users out.
void Authenticator::note(Failure failure) {
    if (m_failures.size() == MAX_REMEMBERED) {
        m_failures.pop_front();
    }
    m_failures.push_back(std::move(failure));
}

kj::Promise<kj::Own<Authenticator::Outcome>> Authenticator::check(Credential credential,
                                                                  const String& address) {
    auto pair = kj::newPromiseAndCrossThreadFulfiller<kj::Own<Outcome>>();
    {
        const std::lock_guard lock(m_mutex);
        if (m_jobs.size() >= MAX_WAITING) {
            return kj::heap<Outcome>(Outcome{Verdict::TOO_MANY});
        }
        m_jobs.push_back({std::move(credential), address, kj::mv(pair.fulfiller)});
    }
    if (!m_thread.joinable()) {
        m_thread = std::thread([this] { work(); });
    }
    m_changed.notify_one();
    return pair.promise.then([this](kj::Own<Outcome> outcome) {
        if (!outcome->complaint.empty()) {
            m_complaints.error(Format("no password can be checked: %1", outcome->complaint));
        }
        return kj::mv(outcome);
    });
}

String Authenticator::stamp() const {
    struct stat status {};
    if (::stat(m_passwordFile.c_str(), &status) != 0) {
        return {};
    }
    return Format("%1:%2:%3:%4", status.st_ino, status.st_size, status.st_ctim.tv_sec,
                  status.st_ctim.tv_nsec);
}

}  // namespace OwCimomd
