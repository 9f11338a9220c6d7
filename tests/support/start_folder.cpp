#include "support/start_folder.h"

#include "support/fake_platform.h"

#include <cstdlib>
#include <filesystem>
#include <map>

namespace quendal {
namespace {

using KeyMap = std::map<std::string, std::string>;

const KeyMap kRequiredKeys = {{"lcdMcastIp", "239.255.77.1"},
                              {"lcdMcastPort", "50100"},
                              {"lcdDataPort", "50200"},
                              {"kvIdFile", "../Work/KvId.ini"},
                              {"targetRootDir", "data/app/Target"}};

std::string serviceIni(const KeyMap& keys) {
  std::string text = "[Tessane Param]\n";
  for (const auto& [key, value] : keys) {
    text += key;
    text += " = " + value + "\n";
  }
  return text;
}

}  // namespace

StartFolder::StartFolder() {
  namespace fs = std::filesystem;
  const fs::path root = path();
  for (const char* name : {"bin", "Dest", "Work", "tmp"}) {
    fs::create_directory(root / name);
  }
  write("Work/KvId.ini", "GROUPNO = 1\nCOLUMNNO = 2\nDISPLAYNO = 3\n");
  write("Work/CurLayOut.cfg", "[Panel]\nOrientation = 0\n");
  fs::current_path(root / "bin");
  setenv("TMPDIR", (root / "tmp").c_str(), 1);
  fake::setSystemRoot(path());
}

void StartFolder::writeServiceIni(const Keys& keys, const std::string& rest) const {
  KeyMap all = kRequiredKeys;
  for (const auto& [key, value] : keys) {
    all[key] = value;
  }
  write("Work/Quendal_L.ini", serviceIni(all) + rest);
}

void StartFolder::writeServiceIniWithout(const std::string& key) const {
  KeyMap all = kRequiredKeys;
  all.erase(key);
  write("Work/Quendal_L.ini", serviceIni(all));
}

}  // namespace quendal
