// version: what this program is and what it runs with.
#include <gnu/libc-version.h>
#include <libxml/parser.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "build.h"
#include "main/commands.h"
#include "util/sqlite.h"
#include "util/text.h"

namespace status {
namespace {

#ifdef __clang__
constexpr char kCompiler[] = "Clang";
#else
constexpr char kCompiler[] = "GCC";
#endif
constexpr int kSchema = 1;  // of --json

std::string SqliteVersion() {
  util::Database database(":memory:");
  util::Statement row = database.Prepare("select sqlite_version()");
  return row && row.NextRow() ? std::string(row.Text(0)) : "unknown";
}

// libxml2 tells its version in one number: 20914 is 2.9.14.
std::string XmlVersion() {
  const long number = std::strtol(xmlParserVersion, nullptr, 10);
  return util::Format("%ld.%ld.%ld", number / 10000, number / 100 % 100, number % 100);
}

}  // namespace

int ShowVersion(const Options&) {
  std::printf("brennik-status %s (commit %s, built with %s %s for %s)\n", kBuildVersion,
              kBuildCommit, kCompiler, __VERSION__, kBuildArchitecture);
  std::printf("service        %s, from the same package\n", kBuildVersion);
  std::printf("JSON schema    %d\n", kSchema);
  std::printf("libraries      SQLite %s, libxml2 %s, zlib %s, glibc %s\n", SqliteVersion().c_str(),
              XmlVersion().c_str(), zlibVersion(), gnu_get_libc_version());
  return 0;
}

}  // namespace status
