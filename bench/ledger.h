// A ledger of any number of pending files on the sandbox's card, and the floors of its operations.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

#include "bare.h"
#include "historydata/historydata.h"

// "realdata/7/S20240307120000.tar.gz"
std::string DataFileName(std::time_t when);

// A row for the file of that time.
History_Data_Para PendingRow(std::time_t when);

// A new ledger of `rows` pending files, 20 seconds apart, the newest of now. Nothing in it is too
// old. Changes between two runs go through a connection of its own.
class FilledLedger {
 public:
  explicit FilledLedger(std::size_t rows);

  std::time_t Newest() const { return m_newest; }
  // The file of any place in the ledger; 0 is the newest.
  std::time_t At(std::size_t place) const;
  void Insert(std::time_t when);
  void Remove(std::time_t when);
  void MarkPending(std::time_t when);

 private:
  std::time_t m_newest;
  std::size_t m_rows;
  BareDatabase m_database;
};

// The floors. Each opens the ledger, sets the service's pragmas, runs the service's statements,
// prepared and with bound values, and closes it.
void InsertBare(const History_Data_Para& row);
// Also drops the rows that are as old as `cutOff`, and their files.
void SaveBare(const History_Data_Para& row, const std::string& cutOff);
void PickBare(std::vector<History_Data_Para>& rows);
void MarkBare(const std::string& name);

// The same with a connection that stays open and statements that stay prepared.
class KeptLedger {
 public:
  KeptLedger();

  void Insert(const History_Data_Para& row);
  void Mark(const std::string& name);

 private:
  void InTransaction(BareStatement& statement);

  BareDatabase m_database;
  BareStatement m_begin;
  BareStatement m_commit;
  BareStatement m_insert;
  BareStatement m_mark;
};
