// Copyright (c) 2026 QvUserLib contributors
// SPDX-License-Identifier: MIT

/**
 * @file
 * The packets that a sample device's reads return while its StreamMode is Packets. Plain C, for
 * user mode and kernel mode alike. All integers are little-endian.
 */

#ifndef QVSAMPLE_QVSAMPLEPACKET_H
#define QVSAMPLE_QVSAMPLEPACKET_H

#include <stdint.h>

/** Reads "QVPK" in a dump. */
#define QV_SAMPLE_PACKET_MAGIC 0x4B505651u

/** Every packet begins with this. The payload follows without a gap. */
typedef struct QV_SAMPLE_PACKET_HEADER {
    uint32_t magic;        /**< `QV_SAMPLE_PACKET_MAGIC`. */
    uint32_t payloadBytes; /**< The size of the payload, without this header. */
    uint64_t sequence;     /**< Counts the packets that were due since the stream began, from 0. */
    uint64_t timestamp;    /**< When the packet was made, in 100 ns units of the system's time. */
    uint64_t dropped;      /**< How many packets since the stream began found no read pending. */
} QV_SAMPLE_PACKET_HEADER;

#ifdef __cplusplus
static_assert(sizeof(QV_SAMPLE_PACKET_HEADER) == 32, "the header has no gaps");
#else
typedef char QvSamplePacketHeaderSize[sizeof(QV_SAMPLE_PACKET_HEADER) == 32 ? 1 : -1];
#endif

/** The byte at `aIndex`, from 0, of the payload of packet `aSequence`. */
static inline uint8_t QvSamplePayloadByte(uint64_t aSequence, uint32_t aIndex) {
    return (uint8_t)((uint32_t)aSequence * 31u + aIndex * 7u + (aIndex >> 8));
}

#endif
