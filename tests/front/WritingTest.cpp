// What holds for every operation that writes a recording: where it does not come to its end, nothing is left behind.

#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <kvex/File.h>
#include <kvex/Writing.h>
#include <set>
#include <sys/resource.h>

#include "support/Command.h"
#include "support/StoreReading.h"

namespace Kvex {
namespace {

namespace fs = std::filesystem;
using Testing::TempFile;

struct Operation {
  const char* name;
  void (*run)(const std::string& first, const std::string& second, const std::string& out, const WriteOptions& options);
};

constexpr Operation kOperations[] = {
    {"cut",
     [](const std::string& first, const std::string&, const std::string& out, const WriteOptions& options) {
       CutOptions cut;
       static_cast<WriteOptions&>(cut) = options;
       File(first).cut(out, cut);
     }},
    {"rescue", [](const std::string& first, const std::string&, const std::string& out,
                  const WriteOptions& options) { rescue(first, out, options); }},
    {"merge",
     [](const std::string& first, const std::string& second, const std::string& out, const WriteOptions& options) {
       merge({first, second}, out, options);
     }},
};

/// No file may become larger than this, as on a disk without room, for as long as it lives.
class SmallDisk {
 public:
  explicit SmallDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~SmallDisk() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

 private:
  void (*handler_)(int);
  rlimit before_{};
};

class WritingTest : public testing::TestWithParam<Operation> {
 protected:
  static void SetUpTestSuite() {
    for (const TempFile* file : {&first_, &second_}) {
      const std::string command = "synth '" + file->path() + "' --seconds 5 --force";
      ASSERT_EQ(Support::runCommand("vrel", command).exitCode, 0);
    }
  }

  WritingTest() : folder_(Support::scratchPath(std::string("writing-") + GetParam().name)) {
    fs::remove_all(folder_);
    fs::create_directory(folder_);
  }

  /// The code of the error with which the operation ends.
  ErrorCode fail(const WriteOptions& options) {
    try {
      GetParam().run(first_.path(), second_.path(), folder_ + "/out.vrel", options);
    } catch (const Error& error) {
      return error.code();
    }
    ADD_FAILURE() << "it came to its end";
    return {};
  }

  std::set<std::string> filesInFolder() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.insert(entry.path().filename().string());
    return names;
  }

  static inline const TempFile first_{"writing-a.vrel"};
  static inline const TempFile second_{"writing-b.vrel"};
  std::string folder_;
};

TEST_P(WritingTest, LeavesNothingBehindWhenStopped) {
  std::stop_source before;
  before.request_stop();
  EXPECT_EQ(fail({.stop = before.get_token()}), ErrorCode::Cancelled);
  std::stop_source during;
  const auto stopOnWay = [&](const Progress&) { during.request_stop(); };
  EXPECT_EQ(fail({.progress = stopOnWay, .stop = during.get_token()}), ErrorCode::Cancelled);
  EXPECT_EQ(filesInFolder(), std::set<std::string>{});
}

TEST_P(WritingTest, LeavesWhatWasThereOnADiskWithoutRoom) {
  std::ofstream(folder_ + "/out.vrel") << "was there";
  {
    const SmallDisk disk(100'000);
    EXPECT_EQ(fail({.force = true}), ErrorCode::Unwritable);
  }
  EXPECT_EQ(filesInFolder(), std::set<std::string>{"out.vrel"});
  EXPECT_EQ(Support::contentsOf(folder_ + "/out.vrel"), "was there");
}

INSTANTIATE_TEST_SUITE_P(Operations, WritingTest, testing::ValuesIn(kOperations),
                         [](const auto& operation) { return std::string(operation.param.name); });

}  // namespace
}  // namespace Kvex
