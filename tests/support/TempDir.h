#pragma once
// A fresh directory under the system temp folder, removed with its contents at the end.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace velnor::testing {

class TempDir {
 public:
  TempDir() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "velnor-test-XXXXXX").string();
    if (!mkdtemp(tmpl.data())) throw std::runtime_error("mkdtemp failed");
    m_path = tmpl;
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return m_path; }
  std::string file(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

}  // namespace velnor::testing
