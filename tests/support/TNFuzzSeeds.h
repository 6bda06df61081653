// Files the tests write become the seeds of the fuzz targets. When the
// environment names a seed folder (TNVL_FUZZ_SEEDS), every test directory
// hands its files over before it is removed:
//   - each "<base>.Sam" with its "<base>.Dat" beside it becomes one input of
//     the channel-files target: the samples file's length as 4 bytes
//     little-endian, the samples file, then the data file;
//   - each file named "ConfData.Inf" (in any case) becomes one input of the
//     measuring-point file target;
//   - each project file ("*.TNArch") becomes one input of the project target;
//   - each file whose first non-blank byte is '<' becomes one input of the
//     XML target (a ConfData.Inf of any version and a project file too).
// Inputs go to <seeds>/channel, <seeds>/confdata, <seeds>/project and
// <seeds>/xml, named by a
// hash of their bytes, so a file written by many tests is kept once. Files
// above 64 KiB are passed over: seeds should be small.
#pragma once

#include <cstdint>
#include <string>

// Packs a samples file and a data file into one input of the channel-files target.
std::string TNPackChannelFiles(const std::string& sam, const std::string& dat);

// Hands the files below `directory` over as described; does nothing when
// TNVL_FUZZ_SEEDS is not set. Never throws.
void TNHarvestFuzzSeeds(const std::string& directory);
