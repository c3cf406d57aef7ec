// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/NodeArena.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "openwbem/mof/SyntaxTree.hpp"

namespace KovTest {
namespace {

using namespace OpenWBEM::MOF;

constexpr size_t PART = 1000;

/// A declaration with that many parts, all of them filled.
Declaration declare(NodeArena& arena, int parts, bool& isLastOfBlock) {
    for (int i = 0; i < parts; ++i) {
        std::memset(arena.allocate(PART, alignof(void*)), 'p', PART);
    }
    Declaration declaration{};
    declaration.block = arena.endDeclaration(isLastOfBlock);
    return declaration;
}

TEST(NodeArena, ADeclarationsPartsAreInOneBlock) {
    NodeArena arena;
    std::set<NodeArena::Block*> blocks;
    bool isLast = false;
    for (int i = 0; i < 1000; ++i) {
        const bool begins = isLast || i == 0;
        const Declaration declaration = declare(arena, i % 7, isLast);
        EXPECT_EQ(begins, blocks.insert(declaration.block).second) << i;
    }
    EXPECT_GT(blocks.size(), 10u);
}

TEST(NodeArena, ABlockThatWasReleasedIsUsedAgainWhileItIsTheLast) {
    NodeArena arena;
    bool isLast = false;
    std::set<NodeArena::Block*> blocks;
    for (int i = 0; i < 1000; ++i) {
        const Declaration declaration = declare(arena, 1, isLast);
        EXPECT_FALSE(isLast) << i;
        blocks.insert(declaration.block);
        NodeArena::release(declaration);
    }
    EXPECT_EQ(1u, blocks.size());
}

TEST(NodeArena, WhatIsForGoodStays) {
    NodeArena arena;
    auto* const lasting = static_cast<char*>(arena.allocateForGood(PART, 1));
    std::memset(lasting, 'l', PART);
    bool isLast = false;
    const Declaration first = declare(arena, 100, isLast);
    EXPECT_TRUE(isLast);
    const Declaration second = declare(arena, 100, isLast);
    NodeArena::release(second);
    NodeArena::release(first);
    declare(arena, 100, isLast);
    EXPECT_EQ(std::string(PART, 'l'), std::string(lasting, PART));
}

}  // namespace
}  // namespace KovTest
