// WMS, short messages: their store and its events.
#pragma once

#include "providers/qmi/services/common.h"
