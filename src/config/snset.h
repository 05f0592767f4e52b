// The gateway's identity: its model and its serial number.
//
// File: root `snConfig` > `model` (attribute `model`) and `sn` (attribute `sn`, at most 18
// characters kept). Other elements are ignored, repeated ones overwrite.
#pragma once

#include <cstdint>

#include "util/xml.h"

// The model and the serial number, which is the "sn" of everything the gateway sends. The main
// thread loads them before any worker starts; after that all threads read them. The class holds the
// parsed document while open.
class CsnSet {
 public:
  CsnSet() = default;
  CsnSet(const CsnSet&) = delete;
  CsnSet& operator=(const CsnSet&) = delete;

  // Parses the file and loads its values. -1, with an ERROR line, when that fails.
  int Open(const char* path);
  // Loads the values of the held document. -1, with an ERROR line, without a document, without a
  // root, with another root, or without a usable model and serial number; the document is then
  // freed.
  int LoadNodeFromXml();
  // Frees the document and keeps the values. -1 when none was held.
  int Close();
  bool IsOpen() const { return static_cast<bool>(m_document); }

  // The number of a model name. Deliberate: an unknown name gives the number of a known model.
  int ModelToDigit(const char* name) const;
  // Computes the numeric serial number: the decimal value of `serial` after the prefix of two or
  // three characters that the model has.
  void Model2Sn(const char* serial);

  const char* GetSn() const { return m_sn; }
  void GetSn(std::uint32_t* numeric) const { *numeric = m_numericSn; }
  int GetModel() const { return m_model; }

 private:
  static constexpr std::int32_t kUnknownModel = 1;

  util::XmlDocument m_document;
  std::int32_t m_model = kUnknownModel;
  std::uint32_t m_numericSn = 0;
  char m_sn[19] = "";
};

// The one object of the process.
CsnSet& GetCsnSetInstance();
