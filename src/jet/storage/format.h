// The Jet 4 file format as this engine reads and writes it: every offset, size and flag that
// more than a single line of code relies on, named once. Offsets that differ in Jet 3 are
// the Jet 4 values here; FormatLayout (format_layout.h) carries both generations and takes
// its Jet 4 numbers from this file. docs/jet4-format.md describes the structures.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace jet::disk {

// ---- Pages -------------------------------------------------------------------------------
inline constexpr std::size_t kPageSize = 4096;          // Jet 4 page; Jet 3 uses 2048
// The most pages a file may hold: 2 GB of Jet 4 pages (1 GB of Jet 3 ones). Access opens
// nothing larger, so no write may take a file past it.
inline constexpr std::uint32_t kMaxPageCount = 1u << 19;
inline constexpr std::size_t kPageKind = 0;             // u8: the page type below
inline constexpr std::size_t kPageFreeSpace = 2;        // u16: free bytes (data, index, tdef)
inline constexpr std::size_t kPageOwner = 4;            // u32: owning tdef page, or "LVAL"
inline constexpr std::uint8_t kPageHeaderKind = 0x00;   // page 0, the database header
inline constexpr std::uint8_t kPageData = 0x01;         // rows of a table or long values
inline constexpr std::uint8_t kPageTableDef = 0x02;     // a table definition (chained)
inline constexpr std::uint8_t kPageIndexNode = 0x03;    // intermediate B-tree page
inline constexpr std::uint8_t kPageIndexLeaf = 0x04;    // leaf B-tree page
inline constexpr std::uint8_t kPageUsageMap = 0x05;     // bitmap page of a reference usage map
inline constexpr std::uint8_t kPageMarker = 0x01;       // byte 1 of data, tdef and map pages

// ---- Database header (page 0) ------------------------------------------------------------
inline constexpr std::size_t kHeaderMagic = 4;          // "Standard Jet DB" (15 bytes)
inline constexpr std::size_t kHeaderMagicLength = 15;
inline constexpr std::size_t kHeaderVersion = 0x14;     // u8: 0 Jet 3, 1 Jet 4, 2+ ACE
inline constexpr std::size_t kHeaderMaskedStart = 0x18; // first byte masked with RC4
inline constexpr std::size_t kHeaderMaskedLength = 128; // Jet 4; Jet 3 masks 126 bytes
inline constexpr std::array<std::uint8_t, 4> kHeaderMaskKey{0xC7, 0xDA, 0x39, 0x6B};  // RC4 key
inline constexpr std::size_t kHeaderCodePage = 0x3C;    // u16 (masked)
inline constexpr std::size_t kHeaderDatabaseKey = 0x3E; // u32 (masked): 0 when not encrypted
inline constexpr std::size_t kHeaderPassword = 0x42;    // 40 bytes UCS-2 (masked, XOR date)
inline constexpr std::size_t kHeaderPasswordLength = 40;
inline constexpr std::size_t kHeaderSortOrder = 0x6E;   // u16 (masked) collating order
inline constexpr std::size_t kHeaderCreationDate = 0x72; // double (masked) Jet date

// ---- Data pages and rows -----------------------------------------------------------------
inline constexpr std::size_t kDataRowCount = 12;        // u16 row count; slots follow it
inline constexpr std::size_t kDataHeaderSize = 14;      // header up to the first slot
inline constexpr std::size_t kDataMaxRows = 255;        // rows a writer puts on one page
inline constexpr std::uint16_t kRowDeleted = 0x8000;    // slot flag: the row is deleted
inline constexpr std::uint16_t kRowOverflow = 0x4000;   // slot flag: the row is a pointer
inline constexpr std::uint16_t kRowOffsetMask = 0x1FFF; // slot bits holding the row offset
inline constexpr std::uint32_t kLongValueOwner = 0x4C41564C;  // "LVAL": owner of LV pages

// ---- Usage maps --------------------------------------------------------------------------
// A usage map row starts with its kind. Inline: u32 first page, then a bitmap. Reference:
// u32 page numbers of usage-map pages, each a bitmap after a 4-byte page header.
inline constexpr std::uint8_t kMapInline = 0;
inline constexpr std::uint8_t kMapReference = 1;
inline constexpr std::size_t kMapInlineStart = 1;        // u32 page of bit 0 (inline map)
inline constexpr std::size_t kMapInlineBits = 5;         // bitmap (inline map)
inline constexpr std::size_t kMapInlineRowSize = 1 + 4 + 64;  // the row a new table gets
inline constexpr std::size_t kMapPagePointers = 1;       // u32 array (reference map)
inline constexpr std::size_t kMapPageHeader = 4;         // usage-map page: kind, 1, 2 unused
inline constexpr std::size_t kFreeMapPointers = 17;      // global map as 69-byte reference row

// ---- Long values (memo, OLE) -------------------------------------------------------------
// The 12-byte field in the row: u32 length with flags, u32 row pointer, 4 unused bytes;
// inline data follows it in the row.
inline constexpr std::size_t kLongValueFieldSize = 12;
inline constexpr std::size_t kLongValuePointer = 4;      // u32 row pointer: page << 8 | row
inline constexpr std::uint32_t kLongValueInline = 0x80000000u;    // data follows the field
inline constexpr std::uint32_t kLongValueSinglePage = 0x40000000u; // one row holds the data
inline constexpr std::uint32_t kLongValueLengthMask = 0x3FFFFFFFu;
inline constexpr std::size_t kLongValueMaxInline = 64;   // longest value the writer inlines

// ---- Table definitions (offsets in the definition's bytes) -------------------------------
inline constexpr std::size_t kTdefPageHeader = 8;        // kind, 1, free space, next page
inline constexpr std::size_t kTdefNextPage = 4;          // u32: next definition page, or 0
inline constexpr std::uint32_t kTdefMagic = 0x0659;      // after the header of a definition
inline constexpr std::size_t kTdefRowCount = 16;         // u32 rows in the table
inline constexpr std::size_t kTdefNextAutonumber = 20;   // u32 next autonumber value
inline constexpr std::size_t kTdefTableType = 40;        // u8 table type below
inline constexpr std::uint8_t kTableTypeUser = 0x4E;
inline constexpr std::uint8_t kTableTypeSystem = 0x53;
inline constexpr std::size_t kTdefMaxColumns = 41;       // u16 highest column number + 1
inline constexpr std::size_t kTdefVariableColumns = 43;  // u16
inline constexpr std::size_t kTdefColumnCount = 45;      // u16
inline constexpr std::size_t kTdefLogicalCount = 47;     // u32 logical indexes
inline constexpr std::size_t kTdefRealCount = 51;        // u32 real indexes
inline constexpr std::size_t kTdefOwnedPages = 55;       // row pointer of the owned-pages map
inline constexpr std::size_t kTdefFreePages = 59;        // row pointer of the free-space map
inline constexpr std::size_t kTdefRealCounts = 63;       // per real index: 4 bytes, u32 rows
inline constexpr std::size_t kTdefRealCountSize = 12;

// One column record.
inline constexpr std::size_t kColumnSize = 25;
inline constexpr std::size_t kColumnNumber = 5;          // u16
inline constexpr std::size_t kColumnVarIndex = 7;        // u16 slot among variable columns
inline constexpr std::size_t kColumnSortOrder = 11;      // u16 (text) collating order
inline constexpr std::size_t kColumnPrecision = 11;      // u8 (numeric)
inline constexpr std::size_t kColumnScale = 12;          // u8 (numeric)
inline constexpr std::size_t kColumnFlags = 15;          // u8 column_flags (record/table_def.h)
inline constexpr std::size_t kColumnFlags2 = 16;         // u8: bit 0 compressed unicode
inline constexpr std::size_t kColumnFixedOffset = 21;    // u16 offset in the fixed area
inline constexpr std::size_t kColumnLength = 23;         // u16 byte length
inline constexpr std::uint8_t kColumnCompressed = 0x01;  // flags2: compressed UCS-2 text
inline constexpr std::uint16_t kGeneralSortOrder = 0x0409;  // text column default

inline constexpr std::size_t kNameLengthSize = 2;        // names: u16 byte length, then UCS-2

// One real index record.
inline constexpr std::size_t kRealIndexSize = 52;
inline constexpr std::uint32_t kRealIndexMagic = 0x0783;
inline constexpr std::size_t kRealIndexColumns = 4;      // (u16 column, u8 order) triples
inline constexpr std::size_t kMaxIndexColumns = 10;      // triples in a real index
inline constexpr std::uint16_t kNoColumn = 0xFFFF;       // an unused triple
inline constexpr std::uint8_t kIndexAscending = 0x01;    // order byte of a triple
inline constexpr std::size_t kRealIndexUsageMap = 34;    // row pointer of its page map
inline constexpr std::size_t kRealIndexRoot = 38;        // u32 first (root) page
inline constexpr std::size_t kRealIndexFlags = 46;       // u8 index_flags (record/table_def.h)
inline constexpr std::uint8_t kRealIndexBaseFlag = 0x80; // always set by Access 2000

// One logical index record.
inline constexpr std::size_t kLogicalIndexSize = 28;
inline constexpr std::size_t kLogicalNumber = 4;         // u32
inline constexpr std::size_t kLogicalRealIndex = 8;      // u32 real index used
inline constexpr std::size_t kLogicalRelatedKind = 12;   // u8 side of a relationship
inline constexpr std::uint8_t kReferencedSide = 1;       // the primary-key table's index
inline constexpr std::uint8_t kReferencingSide = 2;      // the foreign-key table's index
inline constexpr std::size_t kLogicalRelatedIndex = 13;  // u32 logical index on the other side
inline constexpr std::size_t kLogicalRelatedPage = 17;   // u32 tdef page of the other table
inline constexpr std::size_t kLogicalCascadeUpdates = 21;
inline constexpr std::size_t kLogicalCascadeDeletes = 22;
inline constexpr std::uint8_t kNoCascade = 0x04;         // both cascade bytes, no relationship
inline constexpr std::size_t kLogicalKind = 23;          // u8: 0 normal, 1 primary, 2 foreign
inline constexpr std::uint16_t kLongValueMapsEnd = 0xFFFF;  // ends the long-value column maps

// Limits Access applies to a definition.
inline constexpr std::size_t kMaxColumns = 255;
inline constexpr std::size_t kMaxIndexes = 32;
inline constexpr std::size_t kMaxNameLength = 64;

// ---- Index pages -------------------------------------------------------------------------
inline constexpr std::size_t kIndexPrev = 12;            // u32 left sibling
inline constexpr std::size_t kIndexNext = 16;            // u32 right sibling
inline constexpr std::size_t kIndexTail = 20;            // u32 tail child (intermediate)
inline constexpr std::size_t kIndexPrefix = 24;          // u16 bytes shared by every entry
inline constexpr std::size_t kIndexLevel = 26;           // u8 written 0; not read
inline constexpr std::size_t kIndexMask = 0x1B;          // bitmask: one bit per entry end
inline constexpr std::size_t kIndexEntries = 0x1E0;      // first entry
inline constexpr std::size_t kIndexRowPointerSize = 4;   // entry tail: 3-byte page, 1-byte row
inline constexpr std::size_t kIndexChildSize = 4;        // entry tail (intermediate): u32 BE
// Deeper than any real tree (fan-out at least 2): a walk past it is a cycle or damage.
inline constexpr std::size_t kMaxIndexDepth = 32;

// ---- Catalog -----------------------------------------------------------------------------
inline constexpr std::uint32_t kCatalogPage = 2;         // MSysObjects' definition page
inline constexpr std::uint32_t kGlobalMapPage = 1;       // the free-page map's page (row 0)
inline constexpr std::uint32_t kFirstOwnablePage = 3;    // pages below belong to no table

}  // namespace jet::disk
