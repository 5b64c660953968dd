// The numeric constants of the data-access object model, with the values the application's
// code passes (record-set types, Execute options, field types and attributes, relation
// attributes, edit modes).
#pragma once

namespace platform::dao {

// OpenRecordset types. 0 asks for the default: a table-type record set for the name of a
// local table, a dynaset for anything else.
inline constexpr int dbOpenDefault = 0;
inline constexpr int dbOpenTable = 1;
inline constexpr int dbOpenDynaset = 2;
inline constexpr int dbOpenSnapshot = 4;
inline constexpr int dbOpenForwardOnly = 8;

// Execute / OpenRecordset options.
inline constexpr int dbDenyWrite = 1;
inline constexpr int dbDenyRead = 2;
inline constexpr int dbReadOnly = 4;
inline constexpr int dbAppendOnly = 8;
inline constexpr int dbFailOnError = 128;

// Field types (Field.Type, CreateField's type).
inline constexpr int dbBoolean = 1;
inline constexpr int dbByte = 2;
inline constexpr int dbInteger = 3;
inline constexpr int dbLong = 4;
inline constexpr int dbCurrency = 5;
inline constexpr int dbSingle = 6;
inline constexpr int dbDouble = 7;
inline constexpr int dbDate = 8;
inline constexpr int dbBinary = 9;
inline constexpr int dbText = 10;
inline constexpr int dbLongBinary = 11;
inline constexpr int dbMemo = 12;
inline constexpr int dbGUID = 15;
inline constexpr int dbBigInt = 16;
inline constexpr int dbChar = 18;
inline constexpr int dbNumeric = 19;
inline constexpr int dbDecimal = 20;
inline constexpr int dbFloat = 21;
inline constexpr int dbTime = 22;
inline constexpr int dbTimeStamp = 23;

// Field attributes (Field.Attributes).
inline constexpr long dbFixedField = 1;
inline constexpr long dbVariableField = 2;
inline constexpr long dbAutoIncrField = 16;
inline constexpr long dbUpdatableField = 32;
inline constexpr long dbSystemField = 8192;
inline constexpr long dbHyperlinkField = 32768;
// Index field attribute: descending order.
inline constexpr long dbDescending = 1;

// Relation attributes (Relation.Attributes).
inline constexpr long dbRelationUnique = 1;
inline constexpr long dbRelationDontEnforce = 2;
inline constexpr long dbRelationInherited = 4;
inline constexpr long dbRelationUpdateCascade = 256;
inline constexpr long dbRelationDeleteCascade = 4096;
inline constexpr long dbRelationLeft = 16777216;
inline constexpr long dbRelationRight = 33554432;

// Recordset.EditMode.
inline constexpr int dbEditNone = 0;
inline constexpr int dbEditInProgress = 1;
inline constexpr int dbEditAdd = 2;

// TableDef.Attributes bits.
inline constexpr long dbSystemObject = -2147483646;  // &H80000002
inline constexpr long dbHiddenObject = 1;
inline constexpr long dbAttachedTable = 1073741824;

// QueryDef.Type.
inline constexpr int dbQSelect = 0;
inline constexpr int dbQAction = 240;
inline constexpr int dbQUpdate = 48;
inline constexpr int dbQDelete = 32;
inline constexpr int dbQAppend = 64;
inline constexpr int dbQMakeTable = 80;
inline constexpr int dbQDDL = 96;

}  // namespace platform::dao
