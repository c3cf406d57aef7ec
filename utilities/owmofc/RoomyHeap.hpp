// SPDX-License-Identifier: Apache-2.0
//
// Memory for a run that makes a few hundred thousand small objects and then ends.
#pragma once

namespace OwMofc {

/// Lets the heap grow in one large step, of huge pages where the system has them: taking it page by
/// page costs a sixth of the time that a large schema takes. What is never touched is never there,
/// so that a small run pays nothing. Where the system grants less, the heap is as it would have
/// been. To be called once, before there are threads.
void makeHeapRoomy() noexcept;

}  // namespace OwMofc
