// The gateway's identity, from /tessel/Config/system/sn.xml: its model and its serial number.
//
// sn.xml: root `snConfig` with an element `model` (attribute `model`) and an element `sn`
// (attribute `sn`, at most 18 characters kept). Other elements are ignored, repeated ones
// overwrite.
#pragma once

#include <cstdint>

#include "util/xml.h"

// What it is for: who this gateway is. The serial number is the key "sn" of all it sends.
// Threads: loaded on the main thread before any worker starts; then only read.
// Owns: the parsed document while open.
class CsnSet {
 public:
  CsnSet() = default;
  CsnSet(const CsnSet&) = delete;
  CsnSet& operator=(const CsnSet&) = delete;

  // Parses the file and takes its values over. -1, with an ERROR line, when that fails.
  int Open(const char* path);
  // Takes over the values of the held document. -1, with an ERROR line, without a document, a root,
  // the right root, or a usable model and serial number; a document held is then freed.
  int LoadNodeFromXml();
  // Frees the document, the values stay. -1 when none was held.
  int Close();
  bool IsOpen() const { return static_cast<bool>(m_document); }

  // The number of a model name; an unknown name deliberately gives 1, a known model's number.
  int ModelToDigit(const char* name) const;
  // Recomputes the numeric serial number: the decimal value of `serial` after the model's prefix of
  // two or three characters. Unchanged for a model number outside the model table.
  void Model2Sn(const char* serial);

  const char* GetSn() const { return m_sn; }
  void GetSn(std::uint32_t* numeric) const { *numeric = m_numericSn; }
  int GetModel() const { return m_model; }

 private:
  util::XmlDocument m_document;
  std::int32_t m_model = 1;
  std::uint32_t m_numericSn = 0;
  char m_sn[19] = "";
};

// The one object of the process.
CsnSet& GetCsnSetInstance();
