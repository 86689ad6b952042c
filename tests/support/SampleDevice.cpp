#include "tests/support/SampleDevice.h"

#include "tests/support/SampleBuilder.h"
#include "tests/support/SampleParts.h"

namespace slicewise {

SampleDevicePlan makeSampleDevice(const std::string &directory, const SampleDeviceOptions &options)
{
    SampleBuilder builder(directory, options);
    addSamplePlaces(builder);
    addSampleApplications(builder);
    addSampleMedia(builder);
    addSampleMessages(builder);
    addSamplePackages(builder);
    return builder.finish();
}

} // namespace slicewise
