// Writing back in the background: what a waiter may rely on, whatever the disk does.
#include "transfer/store/write_back.h"

#include "support/error_stream_capture.h"
#include "support/eventually.h"
#include "support/fake_platform.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace quendal {
namespace {

using std::chrono::steady_clock;
using namespace std::chrono_literals;

const auto kNever = [] { return false; };

class WriteBackTest : public testing::Test {
 protected:
  ~WriteBackTest() override {
    held = false;
    writeBack.reset();
    fake::onSync(nullptr);
  }

  void holdDisk() {
    held = true;
    fake::onSync([this](int /*descriptor*/) {
      ++syncs;
      while (held) {
        std::this_thread::sleep_for(1ms);
      }
      return 0;
    });
  }

  // One file, as reception stores it.
  void store(const std::string& name = "file") {
    const WriteBack::Writing writing(*writeBack);
    const std::string path = folder.writeFile(name, "data");
    const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    writing.intoFile(file, path);
    ::close(file);
  }

  bool awaitAll(std::chrono::milliseconds limit = 5s) {
    return writeBack->await(writeBack->request(), steady_clock::now() + limit, kNever);
  }

  static std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
  }

  std::atomic<bool> held = false;
  std::atomic<int> syncs = 0;
  TemporaryFolder folder;
  std::unique_ptr<WriteBack> writeBack = std::make_unique<WriteBack>();
};

TEST_F(WriteBackTest, NothingStoredIsNothingToWaitFor) {
  holdDisk();

  EXPECT_TRUE(awaitAll(0s));
  EXPECT_EQ(syncs, 0);
}

TEST_F(WriteBackTest, TheFileSystemOfAStoredFileIsSynced) {
  std::atomic<dev_t> synced = 0;
  fake::onSync([&synced](int descriptor) {
    struct stat status {};
    fstat(descriptor, &status);
    synced = status.st_dev;
    return 0;
  });
  store();

  EXPECT_TRUE(awaitAll());

  struct stat status {};
  ASSERT_EQ(stat(folder.path().c_str(), &status), 0);
  EXPECT_EQ(synced, status.st_dev);
}

TEST_F(WriteBackTest, EachFileSystemIsSyncedOnceHoweverManyFilesAreStoredOnIt) {
  std::atomic<int> others = 0;
  struct stat here {};
  ASSERT_EQ(stat(folder.path().c_str(), &here), 0);
  fake::onSync([&](int descriptor) {
    struct stat status {};
    fstat(descriptor, &status);
    ++(status.st_dev == here.st_dev ? syncs : others);
    return 0;
  });
  for (int number = 0; number < 20; ++number) {
    store("file" + std::to_string(number));
    WriteBack::Writing(*writeBack).intoFolder("/proc");
  }

  EXPECT_TRUE(awaitAll());

  EXPECT_EQ(syncs, 1);
  EXPECT_EQ(others, 1);
}

TEST_F(WriteBackTest, AWaiterWaitsForTheDisk) {
  holdDisk();
  store();

  EXPECT_FALSE(awaitAll(20ms));
  held = false;
  EXPECT_TRUE(awaitAll());
}

TEST_F(WriteBackTest, AWaiterIsToldNoAsSoonAsThereIsNoTimeLeft) {
  holdDisk();
  store();
  int asked = 0;

  EXPECT_FALSE(writeBack->await(writeBack->request(), steady_clock::now() + 1h, [&asked] { return ++asked == 3; }));
}

TEST_F(WriteBackTest, WhatIsStoredDuringASyncNeedsAnother) {
  holdDisk();
  store("one");
  const WriteBack::Ticket first = writeBack->request();
  ASSERT_TRUE(eventually([this] { return syncs == 1; }));
  store("two");
  const WriteBack::Ticket second = writeBack->request();

  held = false;

  EXPECT_TRUE(writeBack->await(first, steady_clock::now() + 5s, kNever));
  EXPECT_TRUE(writeBack->await(second, steady_clock::now() + 5s, kNever));
  EXPECT_EQ(syncs, 2);
}

TEST_F(WriteBackTest, AFileThatIsStillBeingWrittenIsSyncedAgain) {
  fake::onSync([this](int /*descriptor*/) { return ++syncs, 0; });
  store();
  {
    const WriteBack::Writing writing(*writeBack);
    EXPECT_TRUE(awaitAll());
    EXPECT_EQ(syncs, 1);
  }

  EXPECT_TRUE(awaitAll());
  EXPECT_EQ(syncs, 2);
}

TEST_F(WriteBackTest, AnErrorIsALineAndCountedAndNobodyWaitsForEver) {
  const ErrorStreamCapture capture;
  fake::onSync([](int /*descriptor*/) { return EIO; });
  store();

  EXPECT_TRUE(awaitAll());

  EXPECT_EQ(capture.text(),
            "\nReceived files cannot be written to the disk: " + folder.path() + "/: Input/output error");
  EXPECT_EQ(writeBack->failures(), 1U);
}

TEST_F(WriteBackTest, AFolderThatCannotBeOpenedIsAnError) {
  const ErrorStreamCapture capture;
  WriteBack::Writing(*writeBack).intoFolder(folder.path() + "/none");

  EXPECT_TRUE(awaitAll());
  EXPECT_EQ(capture.text(),
            "\nReceived files cannot be written to the disk: " + folder.path() + "/none: No such file or directory");
  EXPECT_EQ(writeBack->failures(), 1U);
}

TEST_F(WriteBackTest, AFileWhoseFolderHasGoneIsSyncedByItself) {
  const ErrorStreamCapture capture;
  fake::onSync([this](int /*descriptor*/) { return ++syncs, 0; });
  const std::string path = folder.writeFile("sub/file", "data");
  const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  std::filesystem::remove_all(folder.path() + "/sub");
  WriteBack::Writing(*writeBack).intoFile(file, path);
  ::close(file);

  EXPECT_TRUE(awaitAll());
  EXPECT_EQ(syncs, 1);
  EXPECT_EQ(capture.text(), "");
}

TEST_F(WriteBackTest, NoDescriptorIsHeldOnceAllIsWritten) {
  const std::ptrdiff_t before = openDescriptors();
  holdDisk();
  store();
  EXPECT_EQ(openDescriptors(), before + 1);

  held = false;
  EXPECT_TRUE(awaitAll());

  EXPECT_TRUE(eventually([before] { return openDescriptors() == before; }));
}

TEST_F(WriteBackTest, ItsEndHasTheRestWritten) {
  fake::onSync([this](int /*descriptor*/) { return ++syncs, 0; });
  store();

  writeBack.reset();

  EXPECT_EQ(syncs, 1);
}

}  // namespace
}  // namespace quendal
