#pragma once
// Lets the lookups of one recalculation that search the same table share its
// values and hash index, instead of each call reading every cell: 10,000
// exact lookups into 100,000 rows become 10,000 hash probes rather than 10^9
// comparisons.
//
// Caching is on only while an EvaluationCacheScope is open on the thread
// (see engine/EvaluationCache.h for the promise its opener makes).
#include <cstdint>
#include <memory>

#include "engine/CellResolver.h"
#include "engine/EvaluationCache.h"
#include "functions/LookupSupport.h"

namespace sumora {

using LookupCacheScope = EvaluationCacheScope;

// Ranges with fewer cells are searched directly: reading them is cheaper
// than keeping them.
inline constexpr int64_t kMinCachedCells = 64;

// The values of a range (already clipped to its grid) read through the
// resolver, shared through the cache; nullptr when no scope is open or the
// range is small.
std::shared_ptr<IndexedValues> cachedRangeValues(CellResolver& resolver, const RangeSpec& range);

} // namespace sumora
