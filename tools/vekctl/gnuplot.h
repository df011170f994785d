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

// A text as a gnuplot literal.
std::string Quoted(const std::string& text);

// Runs a script file; a Failure (status 1) when gnuplot is missing or does not succeed.
void RunGnuplot(const std::string& script_file);
