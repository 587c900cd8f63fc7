/** The whole interface of libvek_pal.so.1. */
#ifndef VEK_PAL_H
#define VEK_PAL_H

#include "vek_pal/at.h"
#include "vek_pal/at_client.h"
#include "vek_pal/at_params.h"
#include "vek_pal/data.h"
#include "vek_pal/device.h"
#include "vek_pal/device_info.h"
#include "vek_pal/encoding.h"
#include "vek_pal/gnss.h"
#include "vek_pal/i2c.h"
#include "vek_pal/ipc.h"
#include "vek_pal/log.h"
#include "vek_pal/mbim.h"
#include "vek_pal/memory.h"
#include "vek_pal/minmea.h"
#include "vek_pal/mq.h"
#include "vek_pal/mutex.h"
#include "vek_pal/net.h"
#include "vek_pal/nvm.h"
#include "vek_pal/qmi.h"
#include "vek_pal/sem.h"
#include "vek_pal/sim.h"
#include "vek_pal/sms.h"
#include "vek_pal/socket.h"
#include "vek_pal/thread.h"
#include "vek_pal/time.h"
#include "vek_pal/timer.h"
#include "vek_pal/util.h"

#endif
