// The process-wide table behind integer decoder handles: 256 slots, slot 0 never used. Not locked;
// callers serialise.
#pragma once

#include <cstdint>

#include "kovra_handle.h"

namespace kovra::api {

bool handle_in_range(int32_t handle);
// The record in a slot, or null for a handle outside 1..255 or an empty slot.
dal_dec_handle *handle_record(int32_t handle);
// Takes the lowest free slot with a fresh zero-filled record; 0 when every slot is taken or
// the record cannot be allocated (the slot then stays free).
int32_t take_slot();
// Frees the record in an occupied slot and clears the slot.
void free_slot(int32_t handle);

}  // namespace kovra::api
