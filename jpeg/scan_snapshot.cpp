// Scan snapshots: what the entropy decoder needs to resume a scan later. A snapshot holds the
// scan's geometry, the scan words of the header side (carried as they are, never interpreted),
// a byte copy of the Huffman state, the input offset of the next unread byte and copies of the
// scan's component records; loading one puts all of that back and refills the byte window from
// the saved offset.
//
// The input offset is the context's source position less the window's unread bytes, so the
// window is taken to read from the context's source (ctx->io).
//
// Refused, touching nothing: a null snapshot, a context without Huffman state, source or byte
// window (and, for loading, read buffer), and a context of more than four components, which the
// snapshot's four component slots could not hold. A load whose seek fails restores the scan
// words and the Huffman state but leaves the window and the component pointers as they were.

#include <cstring>

#include "kovra_jpeg.h"

namespace {

constexpr uint32_t kSnapshotComponents = 4;
constexpr int32_t kRefillBytes = KOVRADALT_WINDOW_CAPACITY;

bool holds_scan_state(const DALTJ_DecoderInfo *ctx) {
    return ctx != nullptr && ctx->huffState != nullptr && ctx->io != nullptr && ctx->byteWindow != nullptr &&
           ctx->numComponents <= kSnapshotComponents;
}

uint32_t next_unread_offset(const DALTJ_DecoderInfo *ctx) {
    return static_cast<uint32_t>(ctx->io->position) - static_cast<uint32_t>(ctx->byteWindow->avail);
}

void refresh_moving_parts(const DALTJ_DecoderInfo *ctx, DALTJ_ScanInfo *info) {
    info->scanFlags = ctx->scanFlags;
    info->entropyCounter = ctx->entropyCounter;
    info->huffState = *ctx->huffState;
    info->inputOffset = next_unread_offset(ctx);
}

void restore_scan_words(DALTJ_DecoderInfo *ctx, const DALTJ_ScanInfo *info) {
    ctx->compsInScan = static_cast<uint8_t>(info->compsInScan);
    ctx->scanWord = info->scanWord;
    std::memcpy(ctx->scanParams, info->scanParams, sizeof ctx->scanParams);
    ctx->entropyCounter = info->entropyCounter;
    ctx->blocksInMcu = info->blocksInMcu;
    ctx->mcuRowsInScan = info->mcuRowsInScan;
    ctx->mcusPerRow = info->mcusPerRow;
    ctx->scanFlags = info->scanFlags;
    *ctx->huffState = info->huffState;
}

// Reads up to a window's worth from the source's position. File and stream sources fill the read
// buffer; a memory source is viewed where it lies, as the byte window does.
void refill_window(DALTJ_DecoderInfo *ctx) {
    uint8_t *bytes = ctx->readBuffer;
    int32_t got = KOVRADALT_Read_IO2(ctx->io, &bytes, kRefillBytes);
    if (got < 0) got = 0;
    ctx->byteWindow->data = bytes;
    ctx->byteWindow->pos = 0;
    ctx->byteWindow->avail = got;
}

// With tables chosen per scan, the scan's first component takes back its table slots, MCU shape
// and multipliers into the frame component it was copied from.
void restore_frame_component(DALTJ_DecoderInfo *ctx, const DALTJ_ComponentInfo &saved) {
    if (ctx->components == nullptr || saved.componentIndex >= ctx->numComponents) return;
    DALTJ_ComponentInfo &frame = ctx->components[saved.componentIndex];
    frame.dcTableNo = saved.dcTableNo;
    frame.acTableNo = saved.acTableNo;
    frame.mcuWidth = saved.mcuWidth;
    frame.mcuHeight = saved.mcuHeight;
    frame.mcuBlocks = saved.mcuBlocks;
    frame.mcuSampleWidth = saved.mcuSampleWidth;
    frame.lastColWidth = saved.lastColWidth;
    frame.lastRowHeight = saved.lastRowHeight;
    if (frame.multipliers != nullptr && saved.multipliers != nullptr && frame.multipliers != saved.multipliers) {
        std::memcpy(frame.multipliers, saved.multipliers, 64 * sizeof *frame.multipliers);
    }
}

}  // namespace

extern "C" {

KOVRA_API void *DALTJ_SetupScanInfo(DALTJ_DecoderInfo *ctx, DALTJ_ScanInfo **out) {
    if (out == nullptr) return nullptr;
    *out = nullptr;
    if (!holds_scan_state(ctx)) return nullptr;
    auto *info = static_cast<DALTJ_ScanInfo *>(KOVRADALT_OsMalloc(sizeof(DALTJ_ScanInfo)));
    if (info == nullptr) return nullptr;
    std::memset(info, 0, sizeof *info);
    *out = info;
    info->compsInScan = ctx->compsInScan;
    info->scanWord = ctx->scanWord;
    std::memcpy(info->scanParams, ctx->scanParams, sizeof info->scanParams);
    info->blocksInMcu = ctx->blocksInMcu;
    info->mcuRowsInScan = ctx->mcuRowsInScan;
    info->mcusPerRow = ctx->mcusPerRow;
    refresh_moving_parts(ctx, info);
    info->entropyCounter = 0;
    for (uint32_t i = 0; i < ctx->numComponents; ++i) {
        if (ctx->scanComponents[i] != nullptr) info->components[i] = *ctx->scanComponents[i];
    }
    return std::memcpy(info->mcuMembership, ctx->mcuMembership, sizeof info->mcuMembership);
}

// -1 (nothing refreshed) for a snapshot or context it refuses.
KOVRA_API int32_t DALTJ_SaveScanInfo(DALTJ_DecoderInfo *ctx, DALTJ_ScanInfo *info) {
    if (info == nullptr || !holds_scan_state(ctx)) return -1;
    refresh_moving_parts(ctx, info);
    return static_cast<int32_t>(info->inputOffset);
}

KOVRA_API void DALTJ_LoadScanInfo(DALTJ_DecoderInfo *ctx, DALTJ_ScanInfo *info) {
    if (info == nullptr || !holds_scan_state(ctx) || ctx->readBuffer == nullptr) return;
    restore_scan_words(ctx, info);
    if (KOVRADALT_Seek_IO(ctx->io, static_cast<int32_t>(info->inputOffset), 0) < 0) return;
    refill_window(ctx);
    std::memcpy(ctx->mcuMembership, info->mcuMembership, sizeof ctx->mcuMembership);
    for (uint32_t i = 0; i < ctx->numComponents; ++i) ctx->scanComponents[i] = &info->components[i];
    if (ctx->perScanTables == 1) restore_frame_component(ctx, info->components[0]);
    DALTJ_SetupiMcu(ctx);
}

}  // extern "C"
