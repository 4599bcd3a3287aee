#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <unistd.h>

/// A test with a folder of its own, gone after it.
class TemporaryFolder : public testing::Test {
protected:
  TemporaryFolder() : folder_(std::filesystem::temp_directory_path() / FolderName()) {
    std::filesystem::create_directories(folder_);
  }
  ~TemporaryFolder() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  std::filesystem::path Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
    return folder_ / name;
  }

  const std::filesystem::path folder_;

private:
  static std::string FolderName() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    return std::string("mien_") + test.test_suite_name() + "_" + test.name() + "_" + std::to_string(getpid());
  }
};
