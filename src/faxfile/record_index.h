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
/// @param page    from 1 to 65536, the most that page numbers of 16 bits can say
/// @param offset  receives the place after the record before, which may be the end of the file
/// @return 0; 18 if the file ends before that place; 10 if it does so within a record, or before the records; 6 if it
///         can't be read; 4 without memory
int16_t find_record(int32_t fd, int32_t page, int64_t *offset);

/// Counts the whole page records, of any number, in memory that does not grow with it.
///
/// @return 0; 10 if bytes follow that are no whole record; 6 if the file can't be read; 4 without memory
int16_t count_records(int32_t fd, int32_t *count);

}  // namespace tolvane
