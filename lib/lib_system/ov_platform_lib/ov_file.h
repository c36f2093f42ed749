// Files that are brought to a place as wholes: who looks there sees the old file or the new one, also when
// the disk is full or the process is killed on the way. Any thread.
#pragma once

#include <string>

// Whether there is anything under this path.
bool is_file_exist(const char* path);
// Whether it is a file proper; a link to one isn't.
bool ov_file_is_regular(const std::string& path);

// The last element of a path, into `name`, which has room for the whole path. "" when the path ends with '/'.
void strip_path(const char* path, char* name);
std::string ov_file_bare_name(const std::string& path);

// Moves a file with "mv", over the one that is there; `to` may be a directory. 0, or -1 with the target as it
// was; the source then stands too, unless the process was killed.
int ov_file_move(const std::string& from, const std::string& to);
// The same for a copy, with "cp".
int ov_file_copy(const std::string& from, const std::string& to);

// Makes a directory, with those above it; 0 also when it is there.
int ov_directory_make(const std::string& path);
// Deletes what is in a directory, links and not what they lead to; 0 when it is empty then.
int ov_directory_empty(const std::string& path);
