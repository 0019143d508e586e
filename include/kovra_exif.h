/* EXIF and TIFF metadata: the TIFF header and IFD entry reader, the EXIF reader that finds the
 * APP1 "Exif" block of a JPEG and fills a metadata record, and the TIFF-file reader that looks for
 * an embedded JPEG.
 *
 * All offsets in TIFF data count from the first byte of the TIFF header (the base); every reader
 * is given the base and the number of valid bytes from it (the length), and checks every bound
 * against that length. Lengths and offsets are unsigned 32-bit.
 *
 * Ownership: a DALTJ_ExifInfo handed out or filled here is the caller's. Its strings and byte
 * blocks (make, model, software, rights_notice, exif_version, date_time_original,
 * date_time_digitized), the gps record, and the gps record's map_datum and processing_method are
 * separate KOVRADALT_OsMalloc allocations that the caller frees with KOVRADALT_OsFree. A read
 * never frees what the record held when it began: the slots it fills are overwritten, so a caller
 * that reuses a record frees (or keeps) their earlier contents first.
 * DALTJ_DestroyExifInfo (kovra_jpeg.h) frees nothing. */
#ifndef KOVRA_EXIF_H
#define KOVRA_EXIF_H

#include <stddef.h>
#include <stdint.h>

#include "kovra_export.h"
#include "kovra_io.h"

KOVRA_BEGIN_C

/* TIFF field types. */
enum {
    DALTJ_TIFF_BYTE = 1,
    DALTJ_TIFF_ASCII = 2,
    DALTJ_TIFF_SHORT = 3,
    DALTJ_TIFF_LONG = 4,
    DALTJ_TIFF_RATIONAL = 5,
    DALTJ_TIFF_SBYTE = 6,
    DALTJ_TIFF_UNDEFINED = 7,
    DALTJ_TIFF_SSHORT = 8,
    DALTJ_TIFF_SLONG = 9,
    DALTJ_TIFF_SRATIONAL = 10,
    DALTJ_TIFF_FLOAT = 11,
    DALTJ_TIFF_DOUBLE = 12
};

/* One decoded IFD entry (4 words). Word 0 holds the tag in its low half and the type in its high
 * half. */
typedef struct DALTJ_ExifField {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    uint16_t type;
    uint16_t tag;
#else
    uint16_t tag;              /* 0, low half */
    uint16_t type;             /* 0, high half: 1..12 */
#endif
    uint32_t count;            /* 1 */
    uint32_t size;             /* 2: count times the type's unit, in bytes */
    uint32_t value;            /* 3: the value itself, or its offset from the base */
} DALTJ_ExifField;

KOVRA_ASSERT_WORD(DALTJ_ExifField, count, 1);
KOVRA_ASSERT_WORD(DALTJ_ExifField, size, 2);
KOVRA_ASSERT_WORD(DALTJ_ExifField, value, 3);
KOVRA_ASSERT_WORDS(DALTJ_ExifField, 4);

/* Unsigned and signed rationals: numerator, then denominator. */
typedef struct DALTJ_Rational {
    uint32_t numerator;
    uint32_t denominator;
} DALTJ_Rational;

typedef struct DALTJ_SRational {
    int32_t numerator;
    int32_t denominator;
} DALTJ_SRational;

/* The thumbnail (IFD1) fields, 15 words. */
typedef struct DALTJ_ThumbnailInfo {
    uint32_t present;              /* 0: 1 when byte_count is non-zero */
    uint32_t width;                /* 1: from the embedded JPEG's frame header when it has one */
    uint32_t height;               /* 2: likewise */
    uint32_t compression;          /* 3: 0 after StripByteCounts, 6 after JPEGInterchangeFormatLength */
    uint32_t photometric;          /* 4 */
    uint32_t byte_count;           /* 5 */
    uint32_t tag_4173;             /* 6: tag 0x104D, stored only */
    uint32_t planar_configuration; /* 7 */
    uint32_t data_offset;          /* 8: absolute position of the thumbnail data in the source */
    uint32_t reserved_9[6];
} DALTJ_ThumbnailInfo;

KOVRA_ASSERT_WORD(DALTJ_ThumbnailInfo, present, 0);
KOVRA_ASSERT_WORD(DALTJ_ThumbnailInfo, width, 1);
KOVRA_ASSERT_WORD(DALTJ_ThumbnailInfo, height, 2);
KOVRA_ASSERT_WORD(DALTJ_ThumbnailInfo, compression, 3);
KOVRA_ASSERT_WORD(DALTJ_ThumbnailInfo, photometric, 4);
KOVRA_ASSERT_WORD(DALTJ_ThumbnailInfo, byte_count, 5);
KOVRA_ASSERT_WORD(DALTJ_ThumbnailInfo, tag_4173, 6);
KOVRA_ASSERT_WORD(DALTJ_ThumbnailInfo, planar_configuration, 7);
KOVRA_ASSERT_WORD(DALTJ_ThumbnailInfo, data_offset, 8);
KOVRA_ASSERT_WORDS(DALTJ_ThumbnailInfo, 15);

/* The GPS IFD fields, 29 words (116 bytes). */
typedef struct DALTJ_GpsInfo {
    uint8_t version_id[4];         /* 0: GPSVersionID, the 4 bytes */
    char latitude_ref[4];          /* 1: GPSLatitudeRef, 2 bytes ("N" and its terminator) */
    DALTJ_Rational latitude[3];    /* 2..7: degrees, minutes, seconds */
    char longitude_ref[4];         /* 8: GPSLongitudeRef, 2 bytes */
    DALTJ_Rational longitude[3];   /* 9..14 */
    uint32_t altitude_ref;         /* 15: GPSAltitudeRef, the byte (0 above, 1 below sea level) */
    DALTJ_Rational altitude;       /* 16, 17 */
    DALTJ_Rational time_stamp[3];  /* 18..23: hours, minutes, seconds (UTC) */
    char *map_datum;               /* 24: owned string */
    uint8_t *processing_method;    /* 25: owned block of the tag's size in bytes, no terminator */
    char date_stamp[12];           /* 26..28: "YYYY:MM:DD", byte 10 always 0 */
} DALTJ_GpsInfo;

KOVRA_ASSERT_WORD(DALTJ_GpsInfo, version_id, 0);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, latitude_ref, 1);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, latitude, 2);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, longitude_ref, 8);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, longitude, 9);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, altitude_ref, 15);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, altitude, 16);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, time_stamp, 18);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, map_datum, 24);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, processing_method, 25);
KOVRA_ASSERT_WORD(DALTJ_GpsInfo, date_stamp, 26);
KOVRA_ASSERT_WORDS(DALTJ_GpsInfo, 29);

/* The metadata record, 55 words, zero-filled by its creator. Words 1..15 come from IFD0, 16..37
 * from the EXIF IFD, 39..53 from IFD1, 54 from the GPS IFD. */
typedef struct DALTJ_ExifInfo {
    uint32_t reserved_0;
    uint32_t bits_per_sample[3];        /* 1..3 */
    uint32_t compression;               /* 4 */
    char *make;                         /* 5: owned string */
    char *model;                        /* 6: owned string */
    uint32_t orientation;               /* 7: 1..8 in well-formed files */
    DALTJ_Rational x_resolution;        /* 8, 9 */
    DALTJ_Rational y_resolution;        /* 10, 11 */
    uint32_t resolution_unit;           /* 12: 2 inch, 3 centimetre */
    char *software;                     /* 13: owned string */
    uint32_t ycbcr_positioning;         /* 14 */
    char *rights_notice;                /* 15: owned string (tag 33432) */
    DALTJ_Rational exposure_time;       /* 16, 17: seconds */
    uint8_t *exif_version;              /* 18: owned 4-byte block, no terminator */
    char *date_time_original;           /* 19: owned string, "YYYY:MM:DD HH:MM:SS" */
    char *date_time_digitized;          /* 20: owned string */
    uint32_t flash;                     /* 21 */
    uint32_t color_space;               /* 22 */
    uint32_t pixel_x_dimension;         /* 23 */
    uint32_t pixel_y_dimension;         /* 24 */
    uint32_t exposure_mode;             /* 25 */
    uint32_t white_balance;             /* 26 */
    DALTJ_Rational digital_zoom_ratio;  /* 27, 28 */
    DALTJ_Rational focal_length;        /* 29, 30: millimetres */
    uint32_t iso_speed;                 /* 31: the decoded value (an offset when count > 2) */
    DALTJ_SRational exposure_bias;      /* 32, 33: APEX */
    DALTJ_Rational f_number;            /* 34, 35 */
    DALTJ_SRational shutter_speed;      /* 36, 37: APEX */
    uint32_t reserved_38;
    DALTJ_ThumbnailInfo thumbnail;      /* 39..53 */
    DALTJ_GpsInfo *gps;                 /* 54: owned, or NULL */
} DALTJ_ExifInfo;

KOVRA_ASSERT_WORD(DALTJ_ExifInfo, bits_per_sample, 1);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, compression, 4);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, make, 5);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, model, 6);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, orientation, 7);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, x_resolution, 8);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, y_resolution, 10);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, resolution_unit, 12);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, software, 13);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, ycbcr_positioning, 14);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, rights_notice, 15);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, exposure_time, 16);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, exif_version, 18);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, date_time_original, 19);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, date_time_digitized, 20);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, flash, 21);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, color_space, 22);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, pixel_x_dimension, 23);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, pixel_y_dimension, 24);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, exposure_mode, 25);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, white_balance, 26);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, digital_zoom_ratio, 27);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, focal_length, 29);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, iso_speed, 31);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, exposure_bias, 32);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, f_number, 34);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, shutter_speed, 36);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, thumbnail, 39);
KOVRA_ASSERT_WORD(DALTJ_ExifInfo, gps, 54);
KOVRA_ASSERT_WORDS(DALTJ_ExifInfo, 55);

/* The TIFF-file reader's record: the caller's, 77 words or more; only jpeg_offset is written. */
typedef struct DALTJ_TiffInfo {
    uint32_t reserved[76];
    uint32_t jpeg_offset;               /* 76: value of tag 513, the embedded JPEG's offset */
} DALTJ_TiffInfo;

KOVRA_ASSERT_WORD(DALTJ_TiffInfo, jpeg_offset, 76);
KOVRA_ASSERT_WORDS(DALTJ_TiffInfo, 77);

/* Results of the JPEG frame-header look-up. */
enum {
    DALTJ_RESOLUTION_FOUND = 200,       /* a start-of-scan marker was reached */
    DALTJ_RESOLUTION_FAILED = 201
};

/* Results of DALTJ_ReadTiffInfo besides 1 (walked) and 0 (bad header). */
enum { DALTJ_TIFF_READ_FAILED = 201 };

/* Decodes the 12-byte entry at base + entry_offset. 1 when the type is known and the value lies
 * within the length (inline values always do), else 0. Two inline shorts (SHORT or SSHORT with
 * count 2) are refused. */
KOVRA_API int32_t DALTJ_ReadExifField(const uint8_t *base, uint32_t entry_offset, uint32_t length,
                                      int32_t little_endian, DALTJ_ExifField *field);

/* Reads a TIFF file through a window that holds it from its first byte, and walks IFD0 (and the
 * first sub-IFD of each SubIFDs entry) for tag 513. 1 walked, 0 bad header, 201 window empty. */
KOVRA_API int32_t DALTJ_ReadTiffInfo(DALTJ_TiffInfo *info, DALTJ_ByteWindow *window, uint32_t ignored,
                                     uint32_t length, uint32_t extra);
/* Walks one IFD of a TIFF file (offset 0: the IFD at the start of the window). Returns its
 * next-IFD offset, or 0. */
KOVRA_API uint32_t DALTJ_ReadTiffIFDInfo(DALTJ_TiffInfo *info, DALTJ_ByteWindow *window, uint32_t offset,
                                         uint32_t length, int32_t little_endian, uint32_t extra);

/* Finds the first APP1 "Exif" segment of the JPEG behind the window (set up at the source's first
 * byte) and reads it into info. The result of DALTJ_ReadExifInfo, or 0. */
KOVRA_API int32_t DALTJ_GetExifInfo(DALTJ_ByteWindow *window, DALTJ_ExifInfo *info);
/* The same procedure under a second name. */
KOVRA_API int32_t DALTJ_GetTiffInfo(DALTJ_ByteWindow *window, DALTJ_ExifInfo *info);

/* Reads TIFF data in memory (base_offset: its position in the source, added to the thumbnail's
 * data_offset). 1 once IFD0 was walked, 0 for a bad header. */
KOVRA_API int32_t DALTJ_ReadExifInfo(const uint8_t *base, uint32_t base_offset, uint32_t length,
                                     DALTJ_ExifInfo *info);
/* IFD readers: each returns its IFD's next-IFD offset, or 0. */
KOVRA_API uint32_t DALTJ_Read0thIFDInfo(const uint8_t *base, uint32_t offset, uint32_t length,
                                        int32_t little_endian, DALTJ_ExifInfo *info);
KOVRA_API uint32_t DALTJ_ReadExifIFDInfo(const uint8_t *base, uint32_t offset, uint32_t length,
                                         int32_t little_endian, DALTJ_ExifInfo *info);
KOVRA_API uint32_t DALTJ_ReadGpsIFDInfo(const uint8_t *base, uint32_t offset, uint32_t length,
                                        int32_t little_endian, DALTJ_GpsInfo *gps);

/* Width and height from the last baseline or progressive frame header before the first
 * start-of-scan of a JPEG in memory: 200 when a start-of-scan was reached, 201 otherwise. */
KOVRA_API int32_t DALTJ_GetJPEGResolution(const uint8_t *bytes, uint32_t length, uint32_t *width,
                                          uint32_t *height);

/* A new record from an APP1 segment in memory (from its 0xFF 0xE1 marker), or NULL. */
KOVRA_API DALTJ_ExifInfo *DALTJ_CreatExifInfoUseExifBuffer(const uint8_t *segment, uint32_t length);

KOVRA_END_C

#endif
