// Folders of their own for a test.
#pragma once

#include <string>

// A temporary folder, removed at the end. A failure throws.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  // Where a path beneath the folder really lies; it starts with '/'.
  std::string Path(const std::string& path) const { return folder_ + path; }
  // Writes a file, with the folders that it needs.
  void Write(const std::string& path, const std::string& content) const;
  // The bytes of a file; empty when it is missing.
  std::string Read(const std::string& path) const;
  // Removes a file, or a folder with all that is in it.
  void Remove(const std::string& path) const;

 private:
  std::string folder_;
};

// One that is laid out like the controller's file system. Sets VEK_ROOT to it; to be made before
// anything else of the platform is used.
struct TempRoot : TempFolder {
  TempRoot();
  // Makes the six areas (zeros, exact sizes), the devices and the folders of a controller.
  void MakeAreas() const;
  // Puts the sample robot.ini in its place.
  void CopySampleIni() const;
};
