// Troubles of the card and of what the service needs beside it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "system/support/environment.h"

namespace test {

// The trouble ends when this goes.
using Trouble = std::shared_ptr<void>;
// Begins a trouble.
using Begin = std::function<Trouble()>;

// Something that is done once and not taken back; the same by SQL.
Begin Once(const std::function<void()>& deed);
Begin Run(const std::string& database, const std::string& sql);
// Another program's lock: the transaction that this SQL begins stays open.
Begin Lock(const std::string& database, const std::string& sql);
// Fills the file system of a directory up to that much room.
Begin Fill(const std::string& directory, std::uintmax_t roomBytes = 0);
// Moves a path aside. Nothing, what `make` makes, or a file takes its place.
Begin Replace(const std::string& path, const std::function<void()>& make = {});
Begin Replace(const std::string& path, const std::string& content);
// Overwrites the page where the ledger's "table" or its "index" begins.
Begin DamagePage(const std::string& type);
// Makes the card read-only. tests/faults/card, which starts the sandbox then, does it when it sees
// a certain file.
Trouble ReadOnly();
// Puts another program in tar's place, for services that start while an ExchangeableTar lives.
Begin OtherTar(const std::string& script);

// A PATH on which tar can be exchanged.
class ExchangeableTar {
 public:
  ExchangeableTar();

 private:
  Environment m_path;
};

}  // namespace test
