// Where the page records of a file begin. The format has no index, so they are found by walking from record to record;
// the places found are remembered, so that reading all pages of a document takes time linear in its size.
#pragma once

#include <cstdint>

namespace tolvane {

/// Finds a page record.
///
/// What is remembered holds as long as inode, size and times of the file do, for any descriptor of it, in the thread
/// that asked. Callers hold a FaxHeaderLock.
///
/// @param page    from 1
/// @param offset  receives the place after the record before, which may be the end of the file, or past it if that
/// record
///                is cut short; on failure the place where the walk ended
/// @return false if there is no length word on the way
bool find_record(int32_t fd, int64_t page, int64_t *offset);

/// Counts the whole page records.
///
/// @return true if the last one ends where the file does; false if bytes follow that are no whole record
bool count_records(int32_t fd, int32_t *count);

}  // namespace tolvane
