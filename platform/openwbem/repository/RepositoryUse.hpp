// SPDX-License-Identifier: Apache-2.0
//
// For whom a repository file is opened, which decides how changes become permanent
// (docs/repository-format.md).
#pragma once

namespace OpenWBEM {

enum class RepositoryUse {
    /// One run of a tool: all changes are one unit of work; other processes may open the file too.
    UNIT_OF_WORK,
    /// The same for kov-setup: an older format is brought to the present one as part of the unit.
    UPGRADE,
    /// The daemon: every operation is committed by itself, and nobody else may open the file.
    SERVED
};

}  // namespace OpenWBEM
