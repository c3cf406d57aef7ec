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

/// The refusals for a subject with the schema, to which this adds objects. It must outlive them.
Array<Refusal> refusals(Subject& subject);

}  // namespace KovTest
