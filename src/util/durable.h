// Bringing what was written to the card itself, where a power cut cannot take it away.
#pragma once

namespace util {

// Brings a file's content, or a directory's entries, to the card. Nothing is reported: a card that
// refuses is found out by whoever reads the file. Any thread.
void SyncToCard(const char* path);

// The same for everything on the file system that holds `path`. It may take seconds.
void SyncFileSystem(const char* path);

}  // namespace util
