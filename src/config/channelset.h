// The catalogue of channels, field devices and sample points, from the channel template
// /tessel/Config/Channel-template.xml and the device-definition files that it names.
//
// Template: root `ChannelConfig`, elements `Channel` (No), in them `Dev` (Name, Protocol, Desc,
// SlaveId, Group). Definition file: root `DevConfig`, element `NodeProperty`, in it one element a
// point type (`AI`, `DI`, `ACC`, `DO`, `AO`), in them `Node` (Id, Name, EUUnits).
// An attribute that an element leaves out keeps the value of the element before it; deliberate.
#pragma once

#include "config/channelrecords.h"
#include "util/xml.h"

// What it is for: which points this gateway has, by DataId and by channel and device.
// Threads: loaded on the main thread before any worker starts; then read by all, without a lock.
// Owns: the parsed template while open, and the maps for the life of the process. The records that
// GetAttr points at stay where they are.
class CChannelSet {
 public:
  CChannelSet() = default;
  CChannelSet(const CChannelSet&) = delete;
  CChannelSet& operator=(const CChannelSet&) = delete;

  // Parses the template and loads it with its definition files, pausing 100 ms after every device
  // and every child of the root. -1, with an ERROR line, when the template cannot be used.
  int Open(const char* path);
  // Loads the held template. -1, with an ERROR line, without a document, a root, or the right root;
  // the document is then freed. A definition file that fails leaves its device without points.
  int LoadNodeFromXml();
  // Frees the template, the maps stay. -1 when none was held.
  int Close();
  // 0 while a template is held, -1 otherwise: note the inverted sense.
  int IsOpen() const;

  // Loads the points of one device from its definition file. -1, with an ERROR line, when the file
  // cannot be used.
  int LoadDevPointAttr(ST_DEV_ATTR dev);
  // Insert or overwrite. Return 0.
  int AddDev(ST_DEV_ATTR dev);
  int AddSamplePoint(ST_POINTID_ATTR point);

  // Look-ups. 0 and `*out` pointing into the catalogue; -1 for a null `out`, and, with a line on
  // standard output, for an unknown key.
  int GetAttr(unsigned int dataId, ST_POINTID_ATTR** out);
  int GetAttr(unsigned short devNo, ST_DEV_ATTR** out);
  // The maps themselves, to iterate. -1 for a null `out`.
  int GetAttr(MAP_GROUP_ATTR** out);
  int GetAttr(MAP_DEV_ATTR** out);
  int GetAttr(MAP_POINT_ATTR** out);

  // Print-outs on standard output. -1 for a null argument.
  int ShowSamplePointInfo(const ST_POINTID_ATTR* p) const;
  int ShowSamplePointInfo(const MAP_GROUP_ATTR* p) const;
  int ShowDevInfo(const ST_DEV_ATTR* p) const;
  int ShowDevInfo(const MAP_DEV_ATTR* p) const;

 private:
  // The devices of one `Channel` element; `dev` is the working record of the whole template.
  void LoadChannel(const util::XmlElement& channel, ST_DEV_ATTR& dev);
  // The points of one point-type element; `point` is the working record of the whole file.
  void LoadPointType(const util::XmlElement& typeElement, const ST_DEV_ATTR& dev,
                     ST_POINTID_ATTR& point);

  util::XmlDocument m_document;
  MAP_GROUP_ATTR m_groups;
  MAP_DEV_ATTR m_devices;
  MAP_POINT_ATTR m_points;
};

// The one object of the process.
CChannelSet& GetCChannelSetInstance();
