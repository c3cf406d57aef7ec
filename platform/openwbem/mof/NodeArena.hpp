// SPDX-License-Identifier: Apache-2.0
//
// Allocates the nodes of syntax trees. A tree is larger than its text, and so are the objects built
// from it. To avoid having both in memory, the nodes of a declaration are freed, block by block,
// when it has been built.
#pragma once

#include <cstddef>
#include <list>
#include <memory_resource>

namespace OpenWBEM::MOF {

struct Declaration;

class NodeArena {
public:
    /// A block that holds as much gets no further declaration. Small blocks are freed early, large
    /// ones are few.
    static constexpr size_t BLOCK_BYTES = 32 << 10;

    /// The nodes of some successive declarations.
    class Block {
        friend class NodeArena;
        /// With room for the declaration that fills it.
        std::pmr::monotonic_buffer_resource m_memory{BLOCK_BYTES + BLOCK_BYTES / 4};
        size_t m_size = 0;
        size_t m_declarations = 0;  ///< those not released yet
    };

    NodeArena();
    NodeArena(const NodeArena&) = delete;
    NodeArena& operator=(const NodeArena&) = delete;

    /// Allocates a part of the declaration that is being read.
    void* allocate(size_t size, size_t alignment) {
        m_current->m_size += size;
        return m_current->m_memory.allocate(size, alignment);
    }
    /// Allocates memory that lasts as long as the arena.
    void* allocateLasting(size_t size, size_t alignment) {
        return m_lasting.allocate(size, alignment);
    }
    /// Ends the declaration that is being read. Returns the block that holds its parts.
    Block* endDeclaration();
    /// Frees the parts of a declaration, at once or later. It and its texts stay valid, but not the
    /// nodes that it points to.
    static void release(const Declaration& declaration) noexcept;

private:
    std::pmr::monotonic_buffer_resource m_lasting;
    std::list<Block> m_blocks;
    Block* m_current;
};

}  // namespace OpenWBEM::MOF
