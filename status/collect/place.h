// Where the gateway's files are: at their own absolute paths, or below the folder of --root.
#pragma once

#include <string>
#include <string_view>

namespace status {

// A gateway: this machine, or a copy of its files below a folder. The folder of a copy may be a
// whole tree (it has tessel/, media/ or tmp/), a copied card (it has Cloud/), a copied /tessel (it
// has Config/) or a copied configuration (it has sys.xml or Channel-template.xml). Cheap to copy;
// any thread.
class Place {
 public:
  // An empty root is this machine.
  Place() = default;
  explicit Place(std::string root);

  // Where a path of the gateway is, for instance paths::kLedger.
  std::string At(std::string_view path) const;
  // Whether this is the machine itself, so that processes, mounts and shared memory can be looked
  // at.
  bool IsLive() const { return m_root.empty(); }
  const std::string& Root() const { return m_root; }

 private:
  std::string m_root;                 // empty: this machine
  bool m_isCard = false;              // the root stands for the card's mount point
  bool m_holdsConfiguration = false;  // the root stands for the folder around the configuration
  bool m_isConfiguration = false;     // the root stands for the folder of the configuration
};

}  // namespace status
