#pragma once

#include "du/Symbol.h"

// The names that selected items use to describe themselves. The module
// passes on whatever an item reports and reads none of these; they stand as
// the vocabulary a client of the selection document meets. Each source file
// that includes this has its own copy.
namespace webapi {

static const du::Symbol SEL_CONTENT_TYPE("contenttype");

static const du::Symbol SEL_OBJECT_ITEM("objectselectionitem");
static const du::Symbol SEL_OBJECT_INSTANCE("instance");
static const du::Symbol SEL_OBJECT_ANNOTATION("annotation");
static const du::Symbol SEL_OBJECT_ANNO_TYPE("anno_type");
static const du::Symbol SEL_OBJECT_ANNO_INDEX("anno_index");
static const du::Symbol SEL_OBJECT_PICK_POINT("pick_point");
static const du::Symbol SEL_OBJECT_SBOM_ID_PATH("sbomIdPath");

static const du::Symbol SEL_ISOVIEW_ITEM("isoviewselectionitem");
static const du::Symbol SEL_ISOVIEW_ID("isoview_id");
static const du::Symbol SEL_ISOVIEW_NAME("isoview_name");
static const du::Symbol SEL_ISOVIEW_PICK_POINT("pick_point");

static const du::Symbol SEL_GEOMETRY_ITEM("geometryselectionitem");
static const du::Symbol SEL_GEOMETRY_PARENT_INSTANCE("parent_instance");
static const du::Symbol SEL_GEOMETRY_PARENT_ANNOTATION("parent_annotation");
static const du::Symbol SEL_GEOMETRY_GEOM_ID("geom_id");
static const du::Symbol SEL_GEOMETRY_GEOM_AEID("geom_aeid");
static const du::Symbol SEL_GEOMETRY_PICK_POINT("pick_point");
static const du::Symbol SEL_GEOMETRY_PICK_AXIS("pick_axis");

static const du::Symbol SEL_GROUP_ITEM("groupselectionitem");
static const du::Symbol SEL_GROUP_NAME("groupname");

}  // namespace webapi
