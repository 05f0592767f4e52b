// Loading the catalogue: the channel template and a definition file for each device, 50 points
// each. The floor is libxml2's own reading of the same files.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>

#include <memory>
#include <optional>

#include "config/channelset.h"
#include "meter.h"
#include "plant.h"

namespace {

struct Freer {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using XmlDocument = std::unique_ptr<xmlDoc, Freer>;

XmlDocument ReadBare(const char* path) {
  return XmlDocument(xmlReadFile(path, nullptr, XML_PARSE_NOBLANKS | XML_PARSE_NONET));
}

// Reads the definition file of each device, and returns how many there are.
std::int64_t ReadDefinitions(const XmlDocument& channels) {
  std::int64_t devices = 0;
  const xmlNode* root = xmlDocGetRootElement(channels.get());
  for (const xmlNode* channel = root->children; channel != nullptr; channel = channel->next) {
    for (const xmlNode* device = channel->children; device != nullptr; device = device->next) {
      const xmlNode* name = device->properties->children;  // of the first attribute
      if (ReadBare(reinterpret_cast<const char*>(name->content))) ++devices;
    }
  }
  return devices;
}

void Catalogue(benchmark::State& state) {
  const std::string path = WritePlantFiles(static_cast<std::size_t>(state.range(0)));
  std::optional<CChannelSet> catalogue;
  Meter meter(state, SizeText(state.range(0), "device"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    catalogue.emplace();
    catalogue->Open(path.c_str());
    catalogue->Close();
    meter.Between([&] {
      MAP_DEV_ATTR* devices = nullptr;
      catalogue->GetAttr(&devices);
      if (devices->size() != static_cast<std::size_t>(state.range(0))) {
        state.SkipWithError("devices are missing");
      }
      catalogue.reset();
    });
  }
}

void CatalogueFloor(benchmark::State& state) {
  const std::string path = WritePlantFiles(static_cast<std::size_t>(state.range(0)));
  Meter meter(state, SizeText(state.range(0), "device"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    const XmlDocument channels = ReadBare(path.c_str());
    if (ReadDefinitions(channels) != state.range(0)) state.SkipWithError("devices are missing");
  }
}
BENCHMARK(Catalogue)->Name("catalogue")->Arg(4)->Arg(200);
BENCHMARK(CatalogueFloor)->Name("catalogue floor")->Arg(4)->Arg(200);

}  // namespace
