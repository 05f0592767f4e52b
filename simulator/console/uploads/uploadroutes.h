// The page's calls about uploads: the list, one of them, its archive.
#pragma once

#include "console/uploads/cloudindex.h"
#include "console/web/router.h"

namespace console {

// GET /api/uploads, /api/uploads/one and /api/uploads/archive. The index outlives the router.
void AddUploadRoutes(const CloudIndex& index, Router& router);

}  // namespace console
