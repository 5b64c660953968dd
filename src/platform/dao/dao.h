// The data-access object model the application speaks to its databases, over the Jet engine:
//   DBEngine -> Workspaces(0) -> OpenDatabase -> Database
//     Database: OpenRecordset, Execute / RecordsAffected, TableDefs, QueryDefs, Relations
//     Recordset: navigation, FindFirst, Edit / AddNew / Update / Delete, Fields
//     TableDef, Field, Index, Relation, QueryDef, Property and their collections.
// Every failure raises platform::Error with the number and French text the original shows.
#pragma once

#include "platform/dao/collection.h"
#include "platform/dao/constants.h"
#include "platform/dao/database.h"
#include "platform/dao/dbengine.h"
#include "platform/dao/field.h"
#include "platform/dao/recordset.h"
#include "platform/dao/schema.h"
#include "platform/dao/variant.h"
