// SPDX-License-Identifier: Apache-2.0
#include "openwbem/mof/NodeArena.hpp"

#include "openwbem/mof/SyntaxTree.hpp"

namespace OpenWBEM::MOF {

NodeArena::NodeArena() : m_current(&m_blocks.emplace_back()) {}

NodeArena::Block* NodeArena::endDeclaration() {
    Block* const block = m_current;
    ++block->m_declarations;
    if (block->m_size >= BLOCK_BYTES) {
        m_current = &m_blocks.emplace_back();
    }
    return block;
}

// The block that is being filled may become empty, too; it is filled again.
void NodeArena::release(const Declaration& declaration) noexcept {
    Block& block = *declaration.block;
    if (--block.m_declarations == 0) {
        block.m_memory.release();
        block.m_size = 0;
    }
}

}  // namespace OpenWBEM::MOF
