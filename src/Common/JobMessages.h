#pragma once

#include "QLMlib/common/nls/Message.h"

// The job's own messages, in the order of their numbers; the texts stand in nls/en_US/nrvna.msg. The comment
// says what the inserts are, in the words of the catalog. `scripts/messages` holds both, and the table in
// docs/messages.md, against each other.
namespace agent::messages {

// --- The walk ----------------------------------------------------------------------------------------------

/// 1: the directory
inline constexpr Message TOO_DEEP{301, "STA0001E"};
/// 1: the file system
inline constexpr Message SCANNING_FILESYSTEM{325, "STA0025I"};
/// 1: the statistics, one on each line, a line feed in front
inline constexpr Message STATISTICS{326, "STA0026I"};
/// 1: the statistics, one on each line, a line feed in front
inline constexpr Message DIRECTORY_STATISTICS{327, "STA0027I"};
/// 1: the entry's local path, 2: the reason
inline constexpr Message ENTRY_NOT_READ{363, "STA0063E"};

// --- Mounts and devices ------------------------------------------------------------------------------------

/// 1: the reason
inline constexpr Message MOUNT_TABLE_NOT_READ{394, "STA0094E"};
/// 1: the reason
inline constexpr Message MOUNT_TABLE_NOT_LOCKED{395, "STA0095E"};
/// 1: mount point and reason, joined by " - "
inline constexpr Message FIGURES_NOT_READ{396, "STA0096E"};
/// 1: device and reason, joined by " - "
inline constexpr Message DEVICE_NOT_OPENED{397, "STA0097E"};
/// 1: device and reason, joined by " - "
inline constexpr Message SUPERBLOCK_NOT_FOUND{398, "STA0098E"};
/// 1: device and reason, joined by " - "
inline constexpr Message SUPERBLOCK_NOT_READ{399, "STA0099E"};
/// 1: the name under which the mount was looked for
inline constexpr Message NOT_MOUNTED{403, "STA0103W"};

// --- Directories -------------------------------------------------------------------------------------------

/// 1: the directory's local path, 2: the reason
inline constexpr Message DIRECTORY_NOT_OPENED{421, "STA0121E"};
/// 1: the beginning of the path
inline constexpr Message PATH_TOO_LONG{440, "STA0139W"};
inline constexpr Message SCAN_COMPLETE{462, "STA0161I"};

// --- The definition, and mounts that are missing -----------------------------------------------------------

/// 1: the definition file, 2: what is wrong
inline constexpr Message DEFINITION_NO_USE{714, "STA0430E"};
/// 1: directory, 2: reason
inline constexpr Message CLUSTER_NOT_READ{722, "STA0620E"};
/// 1: the mount point
inline constexpr Message CLUSTER_WITHOUT_NAME{724, "STA0622E"};
inline constexpr Message NOTHING_TO_SCAN{872, "STA0647E"};
/// 1: the source of the mount
inline constexpr Message NETWORK_SOURCE_ODD{2093, "NAA0039W"};

// --- Progress ----------------------------------------------------------------------------------------------

/// 1: the number of entries
inline constexpr Message ENTRIES_SO_FAR{1141, "AGT0143I"};
/// 1: the number of entries
inline constexpr Message FILESYSTEM_WALKED{1142, "AGT0144I"};
inline constexpr Message JOB_STARTED{1144, "AGT0146I"};

// --- The command line --------------------------------------------------------------------------------------

/// 1: the argument
inline constexpr Message UNKNOWN_COMMAND{1750, "AGT0397E"};
/// 1: the argument
inline constexpr Message INVALID_OPTION{1751, "AGT0398E"};
inline constexpr Message USAGE{2232, "STA0528T"};

// --- Locks -------------------------------------------------------------------------------------------------

/// 1: the file system's mount point
inline constexpr Message LOCK_HELD{2236, "STA0531E"};
/// 1: the file systems, one on each line, a line feed in front
inline constexpr Message FILESYSTEMS_LOCKED{2237, "STA0532I"};

// --- Names of the statistics that every server defines -----------------------------------------------------

inline constexpr Message NAME_AT_RISK{2380, "STA0540T"};
inline constexpr Message NAME_BY_ACCESS{2381, "STA0541T"};
inline constexpr Message NAME_BY_CREATION{2382, "STA0542T"};
inline constexpr Message NAME_BY_MODIFICATION{2383, "STA0543T"};
inline constexpr Message NAME_NOT_BACKED_UP{2384, "STA0544T"};
inline constexpr Message NAME_BY_SIZE{2385, "STA0545T"};
inline constexpr Message NAME_LARGEST_DIRECTORIES{2386, "STA0546T"};
inline constexpr Message NAME_LARGEST_FILES{2387, "STA0547T"};
inline constexpr Message NAME_LARGEST_ORPHANS{2388, "STA0548T"};
inline constexpr Message NAME_OBSOLETE_FILES{2389, "STA0549T"};
inline constexpr Message NAME_OLDEST_ORPHANS{2390, "STA0550T"};
inline constexpr Message NAME_BY_FILE_TYPE{2391, "STA0551T"};
inline constexpr Message NAME_BY_FILESYSTEM{2392, "STA0552T"};
inline constexpr Message NAME_BY_GROUP{2393, "STA0553T"};
inline constexpr Message NAME_BY_OWNER{2394, "STA0554T"};
inline constexpr Message NAME_TEMPORARY_FILES{2395, "STA0555T"};
inline constexpr Message NAME_WASTED_SPACE{2396, "STA0556T"};

// --- Jobs that end without a result, and what is read in part ----------------------------------------------

/// 1: the result file, 2: the reason
inline constexpr Message RESULT_NOT_WRITTEN{2601, "GEN0101E"};
inline constexpr Message TOLD_TO_STOP{2602, "GEN0102W"};
/// 1: what the system says
inline constexpr Message SCAN_FAILED{2603, "GEN0103E"};
/// 1: the directory's local path, 2: the reason
inline constexpr Message DIRECTORY_BROKE_OFF{2604, "GEN0104W"};
/// 1: how many numbers, 2: the reason
inline constexpr Message OWNERS_NOT_LOOKED_UP{2605, "GEN0105W"};
/// 1: the file system's mount point, 2: the file that stands in the way, 3: the reason
inline constexpr Message LOCK_FAILED{2610, "GEN0110E"};

}  // namespace agent::messages
