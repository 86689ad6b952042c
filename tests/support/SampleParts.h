// The parts that a sample device is put together of. They share no directory in which two of them make the
// same file.
#pragma once

#include "tests/support/SampleBuilder.h"

namespace slicewise {

/// What is filed by the place where it lies, and the links that each device has.
void addSamplePlaces(SampleBuilder &builder);
/// In the older layout and in that of containers.
void addSampleApplications(SampleBuilder &builder);
/// Music, videos, ringtones.
void addSampleMedia(SampleBuilder &builder);
void addSampleMessages(SampleBuilder &builder);
/// Packages with their files, and the package manager's database.
void addSamplePackages(SampleBuilder &builder);

} // namespace slicewise
