// The child of the traced confinement test: every data root operation on
// each stored path given, once a marker file name has been looked up, so
// that the trace after the marker holds the data root's calls alone.
//
//   confinement_probe ROOT STORED_PATH...

#include <filesystem>
#include <string>
#include <system_error>

#include "zds/platform/files.h"

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const zds::platform::DataRoot root(argv[1]);
  std::error_code ignored;
  if (std::filesystem::exists("zds-probe-begin", ignored)) return 2;  // the marker must name nothing
  for (int i = 2; i < argc; ++i) {
    const std::string path = argv[i];
    std::string contents;
    root.Resolve(path);
    root.ReadWholeFile(path, contents);
    root.FileExists(path);
    root.DirectoryExists(path);
    root.WriteFileAtomic(path, "lost");
    root.WriteFileAtomic(path + "\\new.xml", "lost");
    root.CreateDirectories(path + "\\made");
    root.RenameFile(path, "\\moved.xml");
    root.RenameFile("\\in.xml", path + "\\in.xml");
    root.RemoveLeftoverTemporaries(path);
    root.RemoveFile(path);
  }
  return 0;
}
