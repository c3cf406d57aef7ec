// SPDX-License-Identifier: Apache-2.0
//
// Operations that are refused, each with its status code.
#pragma once

#include <functional>

#include "tests/unit/repository/RepositoryFixture.hpp"

namespace KovTest {

struct Refusal {
    const char* sentence;
    int status;
    std::function<void()> action;
};

/// For a subject with the schema in it, to which this adds what is needed. It must outlive them.
Array<Refusal> refusals(Subject& subject);

}  // namespace KovTest
