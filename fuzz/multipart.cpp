// The multipart body of a file. The first byte of the input says how far the file has grown or
// shrunk since it was measured, the second how often its content is repeated. Its name follows up
// to a line end, then its content.
#include "http/multipart.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "support/world.h"

namespace {

constexpr char kDirectory[] = "/tmp/multipart/";
constexpr std::size_t kLongestName = 255;
constexpr int kGrowthStepBytes = 32;

// A name that a file can have.
std::string FileName(std::string_view text) {
  std::string name(text.substr(0, kLongestName));
  std::replace(name.begin(), name.end(), '/', '_');
  std::replace(name.begin(), name.end(), '\0', '_');
  return name.empty() || name == "." || name == ".." ? "_" : name;
}

std::string Repeated(std::string_view text, unsigned times) {
  std::string content;
  for (; times > 0; --times) content += text;
  return content;
}

// A file that exists for one input.
class NamedFile {
 public:
  NamedFile(const std::string& name, std::string_view content)
      : m_file((kDirectory + name).c_str()) {
    m_file.Write(content);
  }
  ~NamedFile() { unlink(m_file.Path()); }
  NamedFile(const NamedFile&) = delete;
  NamedFile& operator=(const NamedFile&) = delete;

  const char* Path() const { return m_file.Path(); }

 private:
  fuzz::InputFile m_file;
};

// What surrounds the name and the content in every body.
struct Framing {
  std::string beforeName;
  std::string beforeContent;
  std::string closing;

  std::string Around(const std::string& name, const std::string& content) const {
    return beforeName + name + beforeContent + content + closing;
  }
};

Framing LearnFraming() {
  mkdir(kDirectory, 0700);
  const std::string name = "<NAME>";
  const std::string content = "<CONTENT>";
  const NamedFile file(name, content);
  MultipartBody body(content.size());
  fuzz::Expect(body.Build(file.Path()), "a plain body is built");
  const std::string text(body.Text());
  const std::size_t nameAt = text.find(name);
  const std::size_t nameEnd = nameAt + name.size();
  const std::size_t contentAt = text.find(content);
  return {text.substr(0, nameAt), text.substr(nameEnd, contentAt - nameEnd),
          text.substr(contentAt + content.size())};
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Framing framing = LearnFraming();
  if (size < 2) return 0;
  const std::string_view rest = fuzz::Content(data, size).substr(2);
  const std::size_t nameEnd = std::min(rest.find('\n'), rest.size());
  const std::string name = FileName(rest.substr(0, nameEnd));
  const std::string content = Repeated(rest.substr(nameEnd), data[1]);
  const auto growth =
      static_cast<std::ptrdiff_t>(static_cast<std::int8_t>(data[0])) * kGrowthStepBytes;
  const auto measured =
      std::max(static_cast<std::ptrdiff_t>(content.size()) - growth, std::ptrdiff_t{0});

  const NamedFile file(name, content);
  MultipartBody body(static_cast<std::size_t>(measured));
  const bool isBuilt = body.Build(file.Path());
  const std::string whole = framing.Around(name, content);
  fuzz::Expect(isBuilt == (whole.size() <= body.Capacity()),
               "what fits is built, and nothing else");
  fuzz::Expect(!isBuilt || body.Text() == whole, "the body is head, name, file and closing");
  return 0;
}
