// Which slice of the browser's chart has which colour; a row has that of its slice. Pure functions: any
// thread.
//
// After a scan the eight largest are coloured and the rest is grey. While it runs, slices change places with
// every refresh, so a category keeps the colour of its own fixed place; and since there may be more
// categories than colours, those behind the ninth repeat the first eight, paler each time.
#pragma once

#include "chart/UIColor.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace slicewise {

enum class DoneScan { No, Yes };

/// A colour of the palette, and the neutral grey for every index that it does not have. Red, green and blue
/// are fractions in single precision.
[[nodiscard]] UIColor colorByPaletteIndex(std::int64_t index);

/// indexesOfCurrentNodes holds SZANode::index() of what is shown, in the order in which it is shown; while
/// the scan runs, a slice without a node counts by its own place.
[[nodiscard]] UIColor colorForSliceAtIndex(std::size_t slice, DoneScan doneScan,
                                           std::span<const std::uint64_t> indexesOfCurrentNodes);

} // namespace slicewise
