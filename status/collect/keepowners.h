// Keeps SQLite from changing the files that it reads.
#pragma once

namespace status {

// When root reads a database, SQLite gives the journal the database's owner each time it looks at
// it. That is a write to the card, even if nothing changes. After this call it leaves the owners
// alone, in the whole process. It may be called often.
void KeepOwners();

}  // namespace status
