// The real-time task: the 1 ms cycle and the supervision of its own and the servo task's cycle
// times.
#pragma once

#include <cstdint>

enum class CycleVerdict { Good, Warning, RunAway };

// Judges a cycle by the run times of Vek and of Dru, microseconds. Deliberately lopsided: a slow
// Vek beside a healthy Dru counts as a run-away, only a slow Dru earns the warning.
CycleVerdict JudgeCycle(std::int64_t vek_us, std::int64_t dru_us);

// Body of the task; `arg` is the initialised Vek object. Returns once g_exit is set.
void VekTask(void* arg);
