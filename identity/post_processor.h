// The recogniser's second stage as a detail update runs it.
#ifndef SARN_IDENTITY_POST_PROCESSOR_H
#define SARN_IDENTITY_POST_PROCESSOR_H

#include <stdint.h>

namespace sarn {

using TypeUpdate = int32_t (*)(const char *mac, const char *type, int32_t length, int32_t producer_id);

// update_device_displaytype for a type that is a recogniser's whatever FingPostProcessorType says.
int32_t update_recognised_type(const char *mac, const char *type, int32_t length, int32_t producer_id);

// post_processor_update with that call for the type.
int32_t post_process(TypeUpdate update_type, const char *mac, const char *type, const char *name, int32_t producer_id);

}  // namespace sarn

#endif
