// SPDX-License-Identifier: Apache-2.0
//
// The handler only records the signal and makes a descriptor readable, so that a wait that begins
// right after a check does not miss the signal.
#include "blocxx/Interruption.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <utility>

#include "blocxx/Format.hpp"

namespace blocxx::Interruption {

namespace {

volatile std::sig_atomic_t g_signal = 0;
int g_event = -1;
int g_deferrals = 0;
std::exception_ptr g_failure;
bool g_thrown = false;

void noteSignal(int number) noexcept {
    const int saved = errno;
    if (g_signal == 0) {
        g_signal = number;
        const uint64_t one = 1;
        static_cast<void>(!::write(g_event, &one, sizeof one));
    }
    errno = saved;
}

}  // namespace

void catchSignals() noexcept {
    if (g_event < 0) {
        g_event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    }
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            action.sa_handler = noteSignal;
            // Libraries need not handle EINTR. poll(2) fails with it even so.
            action.sa_flags = SA_RESTART;
            ::sigaction(number, &action, nullptr);
        }
    }
}

void endBySignal() noexcept {
    const int number = g_signal;
    if (number == 0) {
        return;
    }
    std::signal(number, SIG_DFL);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, number);
    ::sigprocmask(SIG_UNBLOCK, &only, nullptr);
    ::raise(number);
}

void failLater(std::exception_ptr failure) noexcept {
    if (!g_failure) {
        g_failure = std::move(failure);
    }
}

void check() {
    if (g_deferrals != 0) {
        return;
    }
    if (const int number = g_signal; number != 0 && !g_failure) {
        const Format message("The run was interrupted by SIG%1", sigabbrev_np(number));
        g_failure = std::make_exception_ptr(
            InterruptedException(__FILE__, __LINE__, message.toString().c_str()));
    }
    if (g_failure) {
        g_thrown = true;
        std::rethrow_exception(g_failure);
    }
}

std::exception_ptr thrown() noexcept {
    return g_thrown ? g_failure : nullptr;
}

void forget() noexcept {
    g_signal = 0;
    g_failure = nullptr;
    g_thrown = false;
    uint64_t count = 0;
    static_cast<void>(!::read(g_event, &count, sizeof count));
}

bool isPending() noexcept {
    return hasSignal() && g_deferrals == 0;
}

bool hasSignal() noexcept {
    return g_signal != 0;
}

int signalDescriptor() noexcept {
    return g_event;
}

int descriptor() noexcept {
    return g_deferrals == 0 ? g_event : -1;
}

void wait(int fd, short events) {
    std::array<pollfd, 2> waiting{pollfd{fd, events, 0}, pollfd{descriptor(), POLLIN, 0}};
    while (::poll(waiting.data(), waiting.size(), -1) < 0 && errno == EINTR) {
    }
    check();
}

Deferred::Deferred() noexcept {
    ++g_deferrals;
}

Deferred::~Deferred() {
    --g_deferrals;
}

}  // namespace blocxx::Interruption
