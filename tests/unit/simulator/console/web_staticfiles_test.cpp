#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "console/web/staticfiles.h"
#include "support/files.h"

namespace {

class StaticFiles : public ::testing::Test {
 protected:
  StaticFiles() {
    test::WriteFile("/tmp/page/index.html", "<p>");
    test::WriteFile("/tmp/page/style.css", "p{}");
    test::WriteFile("/tmp/page/parts/road.js", "export{}");
    test::WriteFile("/tmp/page/notes.txt", "notes");
    test::WriteFile("/tmp/pages/secret.html", "secret");
    test::WriteFile("/tmp/chart.min.js", "chart");
    EXPECT_EQ(symlink("/tmp/pages/secret.html", "/tmp/page/link.html"), 0);
  }
  ~StaticFiles() override { test::Empty("/tmp"); }

  console::StaticFiles m_files{"/tmp/page", "/tmp/chart.min.js"};
};

TEST_F(StaticFiles, GiveAFileAndItsType) {
  const struct {
    const char* path;
    const char* content;
    const char* type;
  } rows[] = {{"/", "<p>", "text/html; charset=utf-8"},
              {"/index.html", "<p>", "text/html; charset=utf-8"},
              {"/style.css", "p{}", "text/css; charset=utf-8"},
              {"/parts/road.js", "export{}", "text/javascript; charset=utf-8"},
              {"/chart.js", "chart", "text/javascript; charset=utf-8"}};
  for (const auto& row : rows) {
    const auto file = m_files.Find(row.path);

    ASSERT_TRUE(file) << row.path;
    EXPECT_EQ(file->content, row.content);
    EXPECT_EQ(file->type, row.type);
  }
}

TEST_F(StaticFiles, StayInTheirFolder) {
  for (const std::string path :
       {"/../pages/secret.html", "/parts/../../pages/secret.html", "//tmp/pages/secret.html",
        "/link.html", "index.html", "/notes.txt", "/parts", "/missing.html", "", "/index.html/"}) {
    EXPECT_FALSE(m_files.Find(path)) << path;
  }
  EXPECT_FALSE(m_files.Find(std::string("/index.html\0.css", 16)));
}

}  // namespace
