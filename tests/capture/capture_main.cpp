// Entry of the tests of the real capture: they change interfaces, so they run in a network of their own.

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr const char* kInside = "QUENDAL_CAPTURE_NAMESPACE";

// Starts this program again in a new network, as an ordinary user in a user namespace as well. By a
// program, since a process that has threads (a sanitizer's, say) cannot change its user namespace.
void enterNamespace(int argc, char** argv) {
  std::vector<std::string> words = {"unshare", "--net"};
  if (geteuid() != 0) {
    words.insert(words.end(), {"--user", "--map-root-user"});
  }
  std::string probe;
  for (const std::string& word : words) {
    probe += word + " ";
  }
  const bool possible = std::system((probe + "true").c_str()) == 0;
  setenv(kInside, possible ? "yes" : "refused", 1);
  if (possible) {
    words.insert(words.end(), argv, argv + argc);
    std::vector<char*> arguments;
    for (std::string& word : words) {
      arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
  }
}

class NamespaceNeeded : public testing::Environment {
 public:
  void SetUp() override {
    const char* inside = std::getenv(kInside);
    if (inside == nullptr || std::string(inside) != "yes") {
      GTEST_SKIP() << "no network namespace can be made here";
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (std::getenv(kInside) == nullptr) {
    enterNamespace(argc, argv);
  }
  testing::InitGoogleTest(&argc, argv);
  testing::AddGlobalTestEnvironment(new NamespaceNeeded);
  return RUN_ALL_TESTS();
}
