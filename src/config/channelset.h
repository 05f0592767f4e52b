// The catalogue of channels, field devices and sample points. It is read from the channel template
// and from the device-definition files that the template names.
//
// Template: root `ChannelConfig` > `Channel` (No) > `Dev` (Name, Protocol, Desc, SlaveId, Group).
// Definition file: root `DevConfig` > `NodeProperty` > one element for each point type (`AI`, `DI`,
// `ACC`, `DO`, `AO`) > `Node` (Id, Name, EUUnits).
// Deliberate: an element without an attribute takes the value of the element before it.
#pragma once

#include <memory_resource>

#include "config/channelrecords.h"
#include "util/xml.h"

// The points and devices of this gateway, by DataId and by channel and device. The main thread
// loads the catalogue before any worker starts; after that all threads read it without a lock. It
// holds the parsed template while open. The records that GetAttr returns stay valid.
class CChannelSet {
 public:
  CChannelSet() = default;
  CChannelSet(const CChannelSet&) = delete;
  CChannelSet& operator=(const CChannelSet&) = delete;

  // Parses the template and loads it with its definition files. It pauses after every device and
  // every child of the root. -1, with an ERROR line, when the template cannot be used.
  int Open(const char* path);
  // Loads the held template. -1, with an ERROR line, without a document, without a root or with
  // another root; the document is then freed. If a definition file fails, its device has no points.
  int LoadNodeFromXml();
  // Frees the template and keeps the maps. -1 when none was held.
  int Close();
  // 0 while a template is held, -1 otherwise.
  int IsOpen() const;

  // Loads the points of one device from its definition file. -1, with an ERROR line, when the file
  // cannot be used.
  int LoadDevPointAttr(ST_DEV_ATTR dev);
  // Insert or overwrite a record. Return 0.
  int AddDev(ST_DEV_ATTR dev);
  int AddSamplePoint(ST_POINTID_ATTR point);

  // Look up a record. 0, and `*out` points into the catalogue. -1 for a null `out`, and, with a
  // line on standard output, for an unknown key.
  int GetAttr(unsigned int dataId, ST_POINTID_ATTR** out);
  int GetAttr(unsigned short devNo, ST_DEV_ATTR** out);
  // Give the maps themselves. -1 for a null `out`.
  int GetAttr(MAP_GROUP_ATTR** out);
  int GetAttr(MAP_DEV_ATTR** out);
  int GetAttr(MAP_POINT_ATTR** out);

  // Print to standard output. -1 for a null argument.
  int ShowSamplePointInfo(const ST_POINTID_ATTR* p) const;
  int ShowSamplePointInfo(const MAP_GROUP_ATTR* p) const;
  int ShowDevInfo(const ST_DEV_ATTR* p) const;
  int ShowDevInfo(const MAP_DEV_ATTR* p) const;

 private:
  // Loads the devices of one `Channel` element. `dev` is the record before, which they inherit.
  void LoadChannel(const util::XmlElement& channel, ST_DEV_ATTR& dev);
  // Loads the points of one point-type element. `point` is the record before, which they inherit.
  void LoadPointType(const util::XmlElement& typeElement, const ST_DEV_ATTR& dev,
                     ST_POINTID_ATTR& point);

  util::XmlDocument m_document;
  // Records are never given back, so they lie close together, without the bytes of a heap.
  std::pmr::monotonic_buffer_resource m_memory;
  MAP_GROUP_ATTR m_groups{&m_memory};
  MAP_DEV_ATTR m_devices{&m_memory};
  MAP_POINT_ATTR m_points{&m_memory};
};

// The one object of the process.
CChannelSet& GetCChannelSetInstance();
