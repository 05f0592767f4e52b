// Writing cached data to the card, where a power cut cannot take it away.
#pragma once

namespace util {

// Writes a file's content, or a directory's entries, to the card. A failure is not reported; it
// shows when the file is read. Any thread may call it.
void SyncToCard(const char* path);

// The same for the whole file system that `path` is on. It may take seconds.
void SyncFileSystem(const char* path);

}  // namespace util
