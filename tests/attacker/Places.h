#pragma once

#include <string>
#include <vector>

#include "attacker/Ground.h"
#include "attacker/Swap.h"

namespace attack {

/// The names that tests swap.
extern const Place LibraryPlace;
extern const Place LogsPlace;
extern const Place HalcyraPlace;
extern const Place LogFolderPlace;
extern const Place LogPlace;
extern const Place CopyPlace;   ///< the newest dated copy
extern const Place HiddenPlace; ///< every hidden file in the log folder
extern const Place MarkerPlace;
extern const Place SubfolderPlace; ///< a folder in the log folder that pruning empties
extern const Place DeeperPlace;    ///< a folder in that
extern const Place CachePlace;     ///< a folder in the cache
extern const Place DataPlace;      ///< a folder in that
extern const Place HomelessFolderPlace;
extern const Place HomelessLogPlace;

/// The same place, in which only these things are put.
Place withThings(Place place, const std::vector<Thing>& things);

} // namespace attack
