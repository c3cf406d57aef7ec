// SPDX-License-Identifier: Apache-2.0
//
// Where the nodes of syntax trees live. A tree is larger than its text, and so is what is built
// from it; so that a large text does not take both at once, what a declaration consists of goes
// when it has been built, block by block.
#pragma once

#include <cstddef>
#include <list>
#include <memory_resource>

namespace OpenWBEM::MOF {

struct Declaration;

class NodeArena {
public:
    /// A block that holds as much gets no further declaration: small enough that hardly anything
    /// is kept for too long, large enough to be few.
    static constexpr size_t BLOCK_BYTES = 32 << 10;

    /// The contents of some declarations that follow each other.
    class Block {
        friend class NodeArena;
        /// With room for the declaration that fills it.
        std::pmr::monotonic_buffer_resource m_memory{BLOCK_BYTES + BLOCK_BYTES / 4};
        size_t m_size = 0;
        size_t m_declarations = 0;  ///< that are not released
    };

    NodeArena();
    NodeArena(const NodeArena&) = delete;
    NodeArena& operator=(const NodeArena&) = delete;

    /// For a part of the declaration that is being read.
    void* allocate(size_t size, size_t alignment) {
        m_current->m_size += size;
        return m_current->m_memory.allocate(size, alignment);
    }
    /// For what stays.
    void* allocateForGood(size_t size, size_t alignment) {
        return m_lasting.allocate(size, alignment);
    }
    /// The block that holds all that was allocated since the last declaration. The next one's parts
    /// may be in another.
    Block* endDeclaration();
    /// Whatever the declaration points to, but for its texts, is gone, or will be soon.
    static void release(const Declaration& declaration) noexcept;

private:
    std::pmr::monotonic_buffer_resource m_lasting;
    std::list<Block> m_blocks;
    Block* m_current;
};

}  // namespace OpenWBEM::MOF
