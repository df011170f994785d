// Checks that the benchmarks are worth something. Failures throw.
#pragma once

// The floor computes what the product computes, but for roundings.
void CheckFloor();

// Feeds so many samples an axis to the averaging filter and prints by how much its mean strays from
// a freshly summed one; false when that is more than 1e-12 of the samples' size.
bool CheckDrift(long samples);
