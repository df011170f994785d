// A root of its own for a test: a temporary folder laid out like the controller's file system, with
// all areas.
#pragma once

#include <string>

#include "platform/shared_memory.h"

// Creates the folder and sets VEK_ROOT to it; to be made before anything else of the platform is
// used. Removes it at the end. A failure throws.
class TempRoot {
 public:
  TempRoot();
  ~TempRoot();
  TempRoot(const TempRoot&) = delete;
  TempRoot& operator=(const TempRoot&) = delete;

  // Where a path of the controller lies in this root.
  std::string Path(const std::string& path) const { return root_ + path; }
  // Writes a file beneath the root, with the folders that it needs.
  void Write(const std::string& path, const std::string& content) const;
  // The bytes of a file; empty when it is missing.
  std::string Read(const std::string& path) const;
  // Removes a file, or a folder with all that is in it.
  void Remove(const std::string& path) const;
  // Makes the six areas (zeros, exact sizes) and the folders of a controller.
  void MakeAreas() const;
  // Puts the sample robot.ini in its place.
  void CopySampleIni() const;

 private:
  std::string root_;
};
