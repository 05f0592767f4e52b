// Troubles of the card and of what the service needs beside it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "system/support/environment.h"

namespace test {

// Ends a trouble when it goes.
using Trouble = std::shared_ptr<void>;
using Begin = std::function<Trouble()>;

// A deed that nobody takes back; SQL of that kind.
Begin Once(const std::function<void()>& deed);
Begin Run(const std::string& database, const std::string& sql);
// Another program's lock, as long as the transaction that this begins.
Begin Lock(const std::string& database, const std::string& sql);
// Leaves that much room on the file system of a directory.
Begin Fill(const std::string& directory, std::uintmax_t roomBytes = 0);
// Out of the way for a while, with nothing, a file, or what `make` makes in its place.
Begin Replace(const std::string& path, const std::function<void()>& make = {});
Begin Replace(const std::string& path, const std::string& content);
// Rubbish over the page where the ledger's "table" or its "index" begins.
Begin DamagePage(const std::string& type);
// A read-only card. Whoever started the sandbox switches it when a file asks (tests/faults/card).
Trouble ReadOnly();
// Another program under the name of tar, for services started while an ExchangeableTar lives.
Begin OtherTar(const std::string& script);

// What it is for: a PATH on which tar can be exchanged. Threads: the test's. Owns: the variable.
class ExchangeableTar {
 public:
  ExchangeableTar();

 private:
  Environment m_path;
};

}  // namespace test
