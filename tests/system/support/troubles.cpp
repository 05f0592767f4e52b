#include "system/support/troubles.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "support/databasefile.h"
#include "support/files.h"
#include "util/file.h"
#include "util/paths.h"

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr char kTools[] = "/tmp/tools";  // the first directory of the PATH
constexpr char kTar[] = "/tmp/tools/tar";
constexpr char kSwitch[] = "/tessel/card-switch";
constexpr std::size_t kPage = 4096;

Trouble Until(std::function<void()> ending) {
  return {nullptr, [ending = std::move(ending)](void*) { ending(); }};
}

void Switch(const char* mode) {
  test::WriteFile(std::string(kSwitch) + ".new", mode);
  fs::rename(std::string(kSwitch) + ".new", kSwitch);
  while (fs::exists(kSwitch)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace

Begin Once(const std::function<void()>& deed) {
  return [=] {
    deed();
    return Trouble();
  };
}

Begin Run(const std::string& database, const std::string& sql) {
  return Once([=] { DatabaseFile(database).Run(sql); });
}

Begin Lock(const std::string& database, const std::string& sql) {
  return [=] {
    auto holder = std::make_shared<DatabaseFile>(database);
    holder->Run(sql);
    return Trouble(holder);
  };
}

Begin Fill(const std::string& directory, std::uintmax_t roomBytes) {
  return [=] {
    const std::string ballast = directory + "/ballast";
    const util::Descriptor file(open(ballast.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    posix_fallocate(file.Get(), 0, static_cast<off_t>(fs::space(directory).free - roomBytes));
    return Until([=] { fs::remove(ballast); });
  };
}

Begin Replace(const std::string& path, const std::function<void()>& make) {
  return [=] {
    fs::rename(path, path + ".aside");
    if (make) make();
    return Until([=] {
      fs::remove_all(path);
      fs::rename(path + ".aside", path);
    });
  };
}

Begin Replace(const std::string& path, const std::string& content) {
  return Replace(path, [=] { test::WriteFile(path, content); });
}

Begin DamagePage(const std::string& type) {
  return Once([=] {
    const auto page =
        DatabaseFile(paths::kLedger)
            .Lines("select rootpage from sqlite_master where tbl_name='tJsonFileNames' and type='" +
                   type + "'");
    std::fstream file(paths::kLedger);
    file.seekp(static_cast<std::streamoff>((std::stoul(page.at(0)) - 1) * kPage));
    file << std::string(kPage, 'x');
  });
}

Trouble ReadOnly() {
  Switch("ro");
  return Until([] { Switch("rw"); });
}

Begin OtherTar(const std::string& script) {
  return Replace(kTar, [=] {
    test::WriteFile(kTar, "#!/bin/sh\n" + script + "\n");
    chmod(kTar, 0755);
  });
}

ExchangeableTar::ExchangeableTar()
    : m_path("PATH", std::string(kTools) + ":" + std::getenv("PATH")) {
  fs::remove_all(kTools);
  fs::create_directories(kTools);
  fs::create_symlink("/usr/bin/tar", kTar);
}

}  // namespace test
