// UIM, the SIM: cards, slots, PINs and files.
#pragma once

#include "providers/qmi/services/common.h"
