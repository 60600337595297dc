// A program of someone else's: it opens a store through the installed
// headers and library, as the README shows.
#include <filesystem>
#include <iostream>

#include "zds/store/zds.h"

int main() {
  std::filesystem::path dir = std::filesystem::temp_directory_path() / "zds-consumer";
  std::filesystem::remove_all(dir);
  zds::CZDS store;
  store.SetDataRoot(std::make_shared<zds::platform::DataRoot>(dir.string()));
  zds::CZDS::Setthis(&store);
  if (!store.InitZDS()) return 1;
  zds::CVFDLNode* calendar = store.GetAIDLDoc()->GetNodeByPath("kov:\\Velmora\\Calendar");
  if (calendar == nullptr) return 1;
  std::cout << "consumer: " << calendar->GetPos() << '\n';
  std::filesystem::remove_all(dir);
  return 0;
}
