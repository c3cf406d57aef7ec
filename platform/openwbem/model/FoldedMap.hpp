// SPDX-License-Identifier: Apache-2.0
//
// Hash maps with names as keys, which compare without regard to the case of ASCII letters.
#pragma once

#include <cstring>
#include <string_view>
#include <unordered_map>

#include "blocxx/String.hpp"

namespace OpenWBEM {

struct FoldedHash {
    using is_transparent = void;

    /// Hashes eight bytes at a time. Setting 0x20 folds letters and a few other pairs, which only
    /// costs a comparison. Not noexcept, so that the standard library's maps store the hashes
    /// instead of computing them again.
    size_t operator()(std::string_view text) const {
        constexpr uint64_t CASE = 0x2020202020202020U;
        constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15U;
        uint64_t hash = text.size() * FACTOR;
        const char* at = text.data();
        size_t left = text.size();
        for (; left >= 8; left -= 8, at += 8) {
            uint64_t word = 0;
            std::memcpy(&word, at, 8);
            hash = mix(hash ^ (word | CASE)) * FACTOR;
        }
        uint64_t word = 0;
        std::memcpy(&word, at, left);
        return mix(mix(hash ^ (word | CASE)) * FACTOR);
    }

private:
    static uint64_t mix(uint64_t x) noexcept { return x ^ (x >> 29); }
};

struct FoldedEqual {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept {
        return a.size() == b.size() &&
               (std::memcmp(a.data(), b.data(), a.size()) == 0 || blocxx::equalsIgnoreCase(a, b));
    }
};

template <class Value, class Key = blocxx::String>
using FoldedMap = std::unordered_map<Key, Value, FoldedHash, FoldedEqual>;

}  // namespace OpenWBEM
