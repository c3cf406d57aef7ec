// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/NodeArena.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <memory_resource>
#include <set>
#include <vector>

#include "openwbem/mof/SyntaxTree.hpp"

namespace KovTest {
namespace {

using namespace OpenWBEM::MOF;

constexpr size_t PART = 1000;

/// A declaration with that many parts of PART bytes, all of them written.
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
    size_t size = NodeArena::BLOCK_BYTES;  // bytes of the parts in the last block
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

/// Counts the bytes that are allocated and not freed. It is the default resource while it lives.
class CountedHeap : public std::pmr::memory_resource {
public:
    CountedHeap() : m_before(std::pmr::set_default_resource(this)) {}
    ~CountedHeap() override { std::pmr::set_default_resource(m_before); }
    CountedHeap(const CountedHeap&) = delete;
    CountedHeap& operator=(const CountedHeap&) = delete;
    size_t bytes() const { return m_bytes; }

private:
    void* do_allocate(size_t size, size_t alignment) override {
        m_bytes += size;
        return m_before->allocate(size, alignment);
    }
    void do_deallocate(void* place, size_t size, size_t alignment) override {
        m_bytes -= size;
        m_before->deallocate(place, size, alignment);
    }
    bool do_is_equal(const memory_resource& other) const noexcept override {
        return this == &other;
    }

    std::pmr::memory_resource* m_before;
    size_t m_bytes = 0;
};

TEST(NodeArena, WhatIsReleasedIsGivenBack) {
    const CountedHeap heap;
    NodeArena arena;
    std::vector<Declaration> declarations;
    for (int i = 0; i < 1000; ++i) {
        declarations.push_back(declare(arena, 7));
    }
    const size_t all = heap.bytes();
    EXPECT_LE(1000 * 7 * PART, all);
    EXPECT_GE(2 * 1000 * 7 * PART, all) << "blocks are not much larger than what they hold";
    for (const Declaration& declaration : declarations) {
        NodeArena::release(declaration);
    }
    EXPECT_EQ(0u, heap.bytes());
}

TEST(NodeArena, WhatIsForGoodStays) {
    NodeArena arena;
    auto* const lasting = static_cast<char*>(arena.allocateLasting(PART, 1));
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
