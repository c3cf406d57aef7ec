// SPDX-License-Identifier: Apache-2.0
#include "blocxx/Interruption.hpp"

#include <utility>

namespace blocxx::Interruption {

namespace {

int g_deferrals = 0;
std::exception_ptr g_failure;
bool g_thrown = false;

}  // namespace

void failLater(std::exception_ptr failure) noexcept {
    if (!g_failure) {
        g_failure = std::move(failure);
    }
}

std::exception_ptr thrown() noexcept {
    return g_thrown ? g_failure : nullptr;
}

void check() {
    if (g_deferrals == 0 && g_failure) {
        g_thrown = true;
        std::rethrow_exception(g_failure);
    }
}

void forget() noexcept {
    g_failure = nullptr;
    g_thrown = false;
}

Deferred::Deferred() noexcept {
    ++g_deferrals;
}

Deferred::~Deferred() {
    --g_deferrals;
}

}  // namespace blocxx::Interruption
