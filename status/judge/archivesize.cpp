#include "judge/archivesize.h"

#define ZLIB_CONST  // zlib then takes its input as const
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "collect/nopauses.h"
#include "http/http.h"
#include "packfile/realdatadocument.h"

namespace status {
namespace {

using Values = std::map<std::uint32_t, double>;

constexpr char kTimeMark[] = "2026-11-22 04:00:00";
constexpr std::size_t kTarBlockBytes = 512;
constexpr std::size_t kTarRecordBytes = 10240;
constexpr int kGzipLevel = 6;
constexpr int kGzipWindowBits = 15 + 16;  // 16: with gzip's frame
constexpr int kMemoryLevel = 8;
constexpr std::string_view kPointStart = "{\"pointId\":";
constexpr std::string_view kDocumentEnd = "]}";
constexpr std::string_view kCutEnd = "]}]}";  // of a document that is cut behind a point
constexpr std::size_t kPointsAdded = 1024;
constexpr std::size_t kMostPointsTried = 65536;
constexpr std::size_t kCloseEnough = 8;        // points
constexpr std::size_t kLeastBytesOfPoint = 7;  // in the archive; a guess that saves measuring
constexpr std::size_t kMostBytes = kFileLimitBytes - 1;

// gzip at its default level, of which only the number of bytes is kept.
class Gzip {
 public:
  Gzip() {
    m_isGood = deflateInit2(&m_stream, kGzipLevel, Z_DEFLATED, kGzipWindowBits, kMemoryLevel,
                            Z_DEFAULT_STRATEGY) == Z_OK;
  }
  ~Gzip() {
    if (m_isGood) deflateEnd(&m_stream);
  }
  Gzip(const Gzip&) = delete;
  Gzip& operator=(const Gzip&) = delete;

  void Add(std::string_view text, int flush = Z_NO_FLUSH) {
    if (!m_isGood) return;
    m_stream.next_in = reinterpret_cast<const Bytef*>(text.data());
    m_stream.avail_in = static_cast<uInt>(text.size());
    do {
      std::array<Bytef, 4096> out;
      m_stream.next_out = out.data();
      m_stream.avail_out = static_cast<uInt>(out.size());
      deflate(&m_stream, flush);
    } while (m_stream.avail_out == 0);
  }
  std::size_t Finish() {
    Add({}, Z_FINISH);
    return m_isGood ? static_cast<std::size_t>(m_stream.total_out) : 0;
  }

 private:
  z_stream m_stream{};
  bool m_isGood = false;
};

std::string TarHeader(std::size_t bytes) {
  std::string header(kTarBlockBytes, '\0');
  const auto put = [&header](std::size_t offset, std::string_view text) {
    header.replace(offset, text.size(), text);
  };
  char size[16];
  std::snprintf(size, sizeof(size), "%011zo", bytes);
  put(0, "S20261122040000.dat");
  put(100, "0000644");
  put(108, "0000000");
  put(116, "0000000");
  put(124, size);
  put(136, "15110326100");
  put(148, "013357");
  put(156, "0ustar  ");
  put(265, "root");
  put(297, "root");
  return header;
}

// A measured value that compresses as badly as a real one.
double TypicalValue(std::uint32_t dataId) {
  const std::uint32_t mixed = (dataId ^ (dataId >> 15)) * 2654435761U;
  const std::uint32_t digits = (mixed ^ (mixed >> 13)) * 2246822519U;
  switch ((dataId >> 8) & 0x0FU) {
    case 1:
    case 3:
      return digits >> 31;
    case 2:
      return (digits % 100000000U) / 1000.0;
    default:
      return (digits % 1000000U) / 1000.0;
  }
}

// The document of the catalogue.
std::string DocumentOf(const std::string& serial, const MAP_GROUP_ATTR& catalogue,
                       const Values* live) {
  Values values;
  for (const auto& [channel, devices] : catalogue) {
    for (const auto& [device, points] : devices) {
      for (const auto& [dataId, point] : points) {
        const bool isLive = live != nullptr && live->contains(dataId);
        values.emplace(dataId, isLive ? live->at(dataId) : TypicalValue(dataId));
      }
    }
  }
  const NoPauses noPauses;
  rapidjson::StringBuffer text;
  WriteRealDataDocument({.serial = serial.c_str(), .timeMark = kTimeMark}, catalogue, values, text);
  return {text.GetString(), text.GetSize()};
}

// A channel of devices like those that are configured.
MAP_GROUP_ATTR MoreDevices(std::uint8_t channel, std::size_t pointsOfDevice) {
  MAP_GROUP_ATTR more;
  for (std::size_t made = 0; made < kPointsAdded; ++made) {
    const auto device = static_cast<std::uint8_t>(made / pointsOfDevice);
    const auto node = static_cast<std::uint16_t>(made % pointsOfDevice + 1);
    const std::uint32_t dataId = ComposeDataId(channel, device, 0, node);
    more[channel][device][dataId] = {};
  }
  return more;
}

// A document that grows by whole channels and is measured up to any of its points.
class GrowingDocument {
 public:
  GrowingDocument(std::string serial, std::size_t pointsOfDevice)
      : m_serial(std::move(serial)),
        m_pointsOfDevice(pointsOfDevice),
        m_headBytes(DocumentOf(m_serial, {}, nullptr).size() - kDocumentEnd.size()) {}

  // Takes the devices of a document.
  void Append(const std::string& document) {
    const std::size_t from = m_text.empty() ? 0 : m_headBytes;
    if (!m_points.empty()) m_text += ',';
    const std::size_t scanned = m_text.size();
    m_text.append(document, from, document.size() - kDocumentEnd.size() - from);
    for (auto at = m_text.find(kPointStart, scanned); at != std::string::npos;
         at = m_text.find(kPointStart, at + 1)) {
      m_points.push_back(static_cast<std::uint32_t>(at));
    }
  }
  void Grow() {
    const auto channel = static_cast<std::uint8_t>(17 + m_points.size() / kPointsAdded);
    Append(DocumentOf(m_serial, MoreDevices(channel, m_pointsOfDevice), nullptr));
  }
  std::size_t Points() const { return m_points.size(); }
  // The archive of the first so many points.
  std::size_t Bytes(std::size_t points) const {
    const std::string_view text = m_text;
    if (points == m_points.size()) return PackedBytes(text, kDocumentEnd);
    return PackedBytes(text.substr(0, m_points[points] - 1), kCutEnd);
  }

 private:
  std::string m_serial;
  std::size_t m_pointsOfDevice;
  std::size_t m_headBytes;              // up to the first device
  std::string m_text;                   // without the end of the document
  std::vector<std::uint32_t> m_points;  // where each point starts
};

// A number of points and the bytes of their archive.
struct Measured {
  std::size_t points = 0;
  std::size_t bytes = 0;
};

// Grows the document until its archive is too large. Returns the largest one measured that fits,
// and the last one measured.
std::pair<Measured, Measured> GrowBeyondLimit(GrowingDocument& document) {
  Measured fitting;
  Measured last{document.Points(), document.Bytes(document.Points())};
  while (last.bytes <= kMostBytes && last.points < kMostPointsTried) {
    fitting = last;
    const std::size_t wanted = last.points + (kMostBytes - last.bytes) / kLeastBytesOfPoint + 1;
    while (document.Points() < wanted) document.Grow();
    last = {document.Points(), document.Bytes(document.Points())};
  }
  return {fitting, last};
}

// The archive grows nearly in step with the points, so a few looks at the straight line between
// too few and too many points find the last that fits.
std::size_t MostPoints(GrowingDocument& document) {
  auto [fitting, tooMany] = GrowBeyondLimit(document);
  if (tooMany.bytes <= kMostBytes) return tooMany.points;
  std::size_t beside = 0;
  while (tooMany.points - fitting.points > kCloseEnough) {
    const std::uint64_t share = std::uint64_t{kMostBytes - fitting.bytes} *
                                (tooMany.points - fitting.points) / (tooMany.bytes - fitting.bytes);
    const std::size_t onLine = fitting.points + static_cast<std::size_t>(share);
    const std::size_t guess = std::clamp(std::max(onLine + beside, kCloseEnough) - kCloseEnough / 2,
                                         fitting.points + 1, tooMany.points - 1);
    const Measured measured{guess, document.Bytes(guess)};
    const bool fits = measured.bytes <= kMostBytes;
    (fits ? fitting : tooMany) = measured;
    beside = fits ? kCloseEnough : 0;
  }
  return fitting.points;
}

std::size_t PointsOfDevice(const MAP_GROUP_ATTR& catalogue) {
  std::size_t devices = 0;
  std::size_t points = 0;
  for (const auto& [channel, ofChannel] : catalogue) {
    devices += ofChannel.size();
    for (const auto& [device, ofDevice] : ofChannel) points += ofDevice.size();
  }
  return devices == 0 ? 32 : std::clamp<std::size_t>(points / devices, 4, kPointsAdded);
}

}  // namespace

std::size_t PackedBytes(std::string_view head, std::string_view tail) {
  Gzip gzip;
  const std::size_t bytes = head.size() + tail.size();
  gzip.Add(TarHeader(bytes));
  gzip.Add(head);
  gzip.Add(tail);
  // The archive ends with two blocks of zeros and is filled up to a whole record.
  const std::size_t used = kTarBlockBytes + bytes + 2 * kTarBlockBytes;
  const std::size_t whole = (used + kTarRecordBytes - 1) / kTarRecordBytes * kTarRecordBytes;
  gzip.Add(std::string(whole - kTarBlockBytes - bytes, '\0'));
  return gzip.Finish();
}

std::size_t ArchiveBytes(const Configuration& configuration, const Values* live) {
  return PackedBytes(DocumentOf(configuration.serial, *configuration.groups, live));
}

std::size_t PointsThatFit(const Configuration& configuration, const Values* live) {
  GrowingDocument growing(configuration.serial, PointsOfDevice(*configuration.groups));
  growing.Append(DocumentOf(configuration.serial, *configuration.groups, live));
  const bool hasMemory = PackedBytes({}) > 0;
  return hasMemory ? MostPoints(growing) : 0;
}

}  // namespace status
