// The body of a file upload. The floor reads the file straight into its place in the body.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>
#include <memory>

#include "http/multipart.h"
#include "meter.h"
#include "plant.h"
#include "util/text.h"

namespace {

constexpr char kHead[] =
    "----WebKitFormBoundaryslLU7UmlAp48QHln\r\n"
    "Content-Disposition:form-data;name=\"licence\";filename=\"";
constexpr char kHeadEnd[] = "\"\r\nContent-Type:application/octet-stream\r\n\r\n";
constexpr char kClosing[] = "\r\n----WebKitFormBoundaryslLU7UmlAp48QHln--\r\n";

std::string MakeFile(std::size_t bytes) {
  std::string path = util::Format("/tmp/S%014zu.tar.gz", bytes);
  std::string content(bytes, '\0');
  for (std::size_t i = 0; i < bytes; ++i) content[i] = static_cast<char>(i * 31 % 251);
  WriteFile(path, content);
  return path;
}

struct FloorBody {
  std::unique_ptr<char[]> memory;
  std::size_t length = 0;

  void Put(std::string_view part) {
    std::memcpy(memory.get() + length, part.data(), part.size());
    length += part.size();
  }
};

FloorBody BuildFloor(const std::string& path) {
  const util::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  fstat(file.Get(), &status);
  const auto bytes = static_cast<std::size_t>(status.st_size);
  const std::size_t framing = sizeof(kHead) + sizeof(kHeadEnd) + sizeof(kClosing) + path.size();
  FloorBody body{.memory = std::unique_ptr<char[]>(new char[bytes + framing])};
  body.Put(kHead);
  body.Put(util::BaseName(path));
  body.Put(kHeadEnd);
  const ssize_t count = read(file.Get(), body.memory.get() + body.length, bytes);
  body.length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  body.Put(kClosing);
  return body;
}

void Multipart(benchmark::State& state) {
  const auto bytes = static_cast<std::size_t>(state.range(0));
  const std::string path = MakeFile(bytes);
  Meter meter(state, SizeText(state.range(0), "byte"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    MultipartBody body(bytes);
    if (!body.Build(path)) state.SkipWithError("not built");
    benchmark::DoNotOptimize(body.Text().data());
  }
}

void MultipartFloor(benchmark::State& state) {
  const auto bytes = static_cast<std::size_t>(state.range(0));
  const std::string path = MakeFile(bytes);
  MultipartBody wanted(bytes);
  const FloorBody built = BuildFloor(path);
  if (!wanted.Build(path) || wanted.Text() != std::string_view(built.memory.get(), built.length)) {
    state.SkipWithError("the floor builds another body");
  }
  Meter meter(state, SizeText(state.range(0), "byte"), state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    const FloorBody body = BuildFloor(path);
    benchmark::DoNotOptimize(body.memory.get());
  }
}
BENCHMARK(Multipart)->Name("multipart body")->Arg(2600)->Arg(36000);
BENCHMARK(MultipartFloor)->Name("multipart body floor")->Arg(2600)->Arg(36000);

}  // namespace
