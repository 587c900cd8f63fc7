// WDS, wireless data: profiles, sessions and their addresses.
#pragma once

#include "providers/qmi/services/common.h"
