// A run of gnuplot, without a shell.
#pragma once

#include <string>

// A folder for the data of one picture; removed at the end.
class PlotFolder {
 public:
  // A Failure (status 1) when it cannot be made.
  PlotFolder();
  ~PlotFolder();
  PlotFolder(const PlotFolder&) = delete;
  PlotFolder& operator=(const PlotFolder&) = delete;

  // Writes a file and gives its path.
  std::string Write(const std::string& name, const std::string& content) const;

 private:
  std::string path_;
};

// One an axis, distinguishable for colour-blind readers, too.
inline constexpr const char* kCurveColours[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                                "#e69f00", "#56b4e9", "#444444", "#8b5a2b"};

// A text as a gnuplot literal.
std::string Quoted(const std::string& text);

// A Failure (status 2) unless the name ends in .png or .svg.
void CheckPictureName(const std::string& output);
// A script's first lines: the picture's kind, size in pixels and file, and the look of its axes.
std::string PictureHead(const std::string& output, std::size_t width, std::size_t height);

// Runs a script file; a Failure (status 1) when gnuplot is missing or does not succeed.
void RunGnuplot(const std::string& script_file);
