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
Declaration declare(NodeArena& arena, int parts) {
    for (int i = 0; i < parts; ++i) {
        std::memset(arena.allocate(PART, alignof(void*)), 'p', PART);
    }
    Declaration declaration{};
    declaration.block = arena.endDeclaration();
    return declaration;
}

TEST(NodeArena, ADeclarationsPartsAreInOneBlock) {
    NodeArena arena;
    std::set<NodeArena::Block*> blocks;
    size_t size = NodeArena::BLOCK_BYTES;  // of the parts in the last block
    for (int i = 0; i < 1000; ++i) {
        const bool begins = size >= NodeArena::BLOCK_BYTES;
        const int parts = i % 7;
        const Declaration declaration = declare(arena, parts);
        EXPECT_EQ(begins, blocks.insert(declaration.block).second) << i;
        size = (begins ? 0 : size) + parts * PART;
    }
    EXPECT_GT(blocks.size(), 10u);
}

TEST(NodeArena, ABlockThatWasReleasedIsUsedAgainWhileItIsTheLast) {
    NodeArena arena;
    std::set<NodeArena::Block*> blocks;
    for (int i = 0; i < 1000; ++i) {
        const Declaration declaration = declare(arena, 1);
        blocks.insert(declaration.block);
        NodeArena::release(declaration);
    }
    EXPECT_EQ(1u, blocks.size());
}

TEST(NodeArena, WhatIsForGoodStays) {
    NodeArena arena;
    auto* const lasting = static_cast<char*>(arena.allocateForGood(PART, 1));
    std::memset(lasting, 'l', PART);
    const Declaration first = declare(arena, 100);
    const Declaration second = declare(arena, 100);
    EXPECT_NE(first.block, second.block);
    NodeArena::release(second);
    NodeArena::release(first);
    declare(arena, 100);
    EXPECT_EQ(std::string(PART, 'l'), std::string(lasting, PART));
}

}  // namespace
}  // namespace KovTest
