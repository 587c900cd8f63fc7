// NAS, network access: registration, signal, the serving cell.
#pragma once

#include "providers/qmi/services/common.h"
