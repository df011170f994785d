// Recordings of position frames: a header row, then one row for each cycle in which a group
// consumed a frame, time in seconds first. Cells of a group that consumed none are empty.
#pragma once

#include <string>
#include <vector>

#include "vek/frame.h"
#include "vek/groups.h"

// Whether two frames are the same, bit for bit.
bool SameFrame(const Frame& a, const Frame& b);

// The header row for these groups, line feed included.
std::string FramesHeader(const std::vector<const GroupRow*>& groups);
// Appends one row; a null frame leaves the group's cells empty. `frames` in the header's order.
void AppendFramesRow(std::string& text, double time_s, const std::vector<const Frame*>& frames);

struct GroupRecording {
  const GroupRow* group = nullptr;
  std::vector<double> time_s;
  std::vector<Frame> frames;
};

// Reads a recording; a Failure (status 2) that names file and line.
std::vector<GroupRecording> ReadFrames(const std::string& file);
// The recording of a group; a Failure (status 2) when there is none or it holds no frame.
const GroupRecording& RecordingOf(const std::vector<GroupRecording>& recordings,
                                  const GroupRow& group, const std::string& file);

// The cycle: the shortest time between two frames, s; a Failure (status 1) when there are too few.
double PeriodOf(const GroupRecording& recording);
