// SPDX-License-Identifier: Apache-2.0
// The whole API.
#pragma once

#include "orvane/om_enums.h"
#include "orvane/om_iaccess.h"
#include "orvane/om_iconnection.h"
#include "orvane/om_idrm_agent.h"
#include "orvane/om_imediaplayer.h"
#include "orvane/om_ipreview_tool.h"
#include "orvane/om_itimer_listener.h"
#include "orvane/om_property_group.h"
#include "orvane/om_records.h"
#include "orvane/om_service.h"
#include "orvane/om_string.h"
#include "orvane/om_timer.h"
#include "orvane/om_type_util.h"
#include "orvane/om_uri_util.h"
#include "orvane/omc_access.h"
#include "orvane/omc_client.h"
#include "orvane/omc_drm_agent.h"
#include "orvane/omc_listeners.h"
#include "orvane/omc_mediaplayer.h"
#include "orvane/omc_preview_tool.h"
