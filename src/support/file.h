// Files and paths: finding a file or program of the family, access checks, copy and move, clean paths.
//
// Paths that are new strings come from `malloc`, and the caller releases them with `free`. Yes or no is 1 or 0.
// Failures are reported on the trace (trace.h), not to the user, with errno left as the failing call set it.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

namespace tolvane {

/// The longest path in bytes, the closing zero not counted; the messages call it MAXPATHLEN.
constexpr size_t PATH_LIMIT = 4096;

/// Looks for a readable regular file under the directory of the environment variable SORBEXHOME, then in the working
/// directory.
///
/// @return its full path, a new string, or null
char *find_file(const char *name);

/// Looks for a readable and executable regular file under SORBEXHOME, in the working directory, then in the elements of
/// PATH in order. An empty element of PATH is skipped: it does not mean the working directory. A file in the working
/// directory counts only if it, and a symbolic link to it, belongs to the user or root and others may not write it.
///
/// @return its full path, a new string, or null
char *find_executable(const char *name);

/// `check_file_access` with "r".
int is_readable_file(const char *path);
/// `check_file_access` with "rx".
int is_executable_file(const char *path);
/// `check_access` for a regular file.
int check_file_access(const char *path, const char *permissions);
/// `check_access` for a directory.
int check_dir_access(const char *path, const char *permissions);

/// Whether the effective user may do with a file what the letters say, by its mode alone. One class decides: the
/// owner's bits for its owner, the group's for a member of its group by the effective group only, and the others' for
/// everyone else. The super-user may do everything with what exists.
///
/// @param type         file type bits, S_IFREG or S_IFDIR, which must all be set in the file's mode
/// @param permissions  letters out of "rwx"; null and the empty text ask for existence only
int check_access(const char *path, mode_t type, const char *permissions);

/// 1 for a path that starts with `/`; 0 for any other, null and the empty text included.
int is_full_path(const char *path);
/// The opposite of `is_full_path`.
int is_relative_path(const char *path);

/// 1 unless the path is longer than PATH_LIMIT or has white space or a control character inside. White space and double
/// quotes at its ends do not count, and nothing at all is valid.
int is_valid_path(const char *path);

/// Makes a path full by the working directory. One leading `./` or `../` is dropped, so `../x` is x in the working
/// directory, not in its parent.
///
/// @param path  a buffer of at least PATH_LIMIT + 1 bytes, which is overwritten
/// @return the full path, a new string, or null
char *fix_path(char *path);

/// Makes a path full and clean by its text alone: without `.`, `..` and empty components. It makes no directory.
///
/// @return the path, a new string, or null if it is not valid or climbs above the root
char *mkpath(const char *path);

/// Copies a regular file. A target that is a directory receives the file under its own name, with the mode of the
/// source; a target that is named directly and exists keeps its mode. A failed copy removes
/// the target if it was new. A file is not copied onto itself.
int copy(const char *source, const char *target);

/// Moves a regular file: by `rename`, or across file systems by copying it to a new file that replaces the
/// target whole, and removing the source. If the target is a hard link of the source, the source is removed; one path
/// given twice is left alone.
///
/// @return 1 with the target in place and the source gone, or 0. If only the removal failed, both exist
int ks_move(const char *source, const char *target);

/// `ftruncate` with a trace line on failure: 0, or -1 with errno set.
int ks_ftruncate(int fd, off_t length);

/// The value of the environment variable SORBEXTMP, or "/tmp" if that is unset or empty. A value longer than any path
/// is cut between characters.
///
/// @return static storage, overwritten by the next call
const char *get_temp_dir();

/// The last component of a path; one `/` at its end is removed in place. Null and the empty text give ".".
///
/// @return a pointer into `path`, or a constant
const char *basename(char *path);

/// The path up to its last `/`, cut there in place; "." for null, the empty text and a path without `/`.
///
/// @return `path`, or a constant
const char *dirname(char *path);

}  // namespace tolvane
