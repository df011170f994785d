// Files that are read and written whole. Nothing here waits for the other end of a FIFO to be
// opened. Throws for want of memory, and then nothing was changed.
#pragma once

#include <string>
#include <string_view>

// The contents of a regular file whose positions fit an int. False for anything else, and when not
// all of it could be read; `text` is then undefined.
bool ReadWholeFile(const char* path, std::string& text);

// Makes `text` the contents of a file; false when the file cannot be opened for writing.
//
// A regular file, or one that is missing, has at any moment either its former contents or all of
// `text`, whenever the process ends: the text goes to PATH.new, which has the owner and mode of the
// file and takes its place once it is on the disk. What was there stays as PATH.old. A link stays,
// its target is replaced. False as well, with everything as it was, when the text cannot be written
// or synced.
//
// Anything else is written in place, and so is a file whose folder takes no PATH.new like it;
// whether the writing succeeds is not told then.
bool ReplaceFile(const char* path, std::string_view text);
