// SPDX-License-Identifier: Apache-2.0
// Another messenger's client end: with the members that the library uses, and no others.
#pragma once

#include "orvane/platform/mdt_msg_data.h"

#include <cstdint>
#include <string>

namespace tz::orvane::mdt
{

enum MdtType_e : int
{
    MDT_TYPE_DEFAULT = 0
};

struct _MdtInitParCfg_t
{
    uint32_t reserved0[3];
    uint32_t send_capacity;
    uint32_t reserved1[9];
    uint32_t receive_capacity;
    uint32_t reserved2[2];
    uint32_t event_capacity;
    uint32_t reserved3[8];
    int (*callback)(void* msg);
    std::string name;
    uint32_t flags;
};

/// Answers by itself: there is no service.
class MdtcMessenger
{
public:
    static MdtcMessenger& GetInstance();

    int init(char const* serviceName, MdtType_e type);
    int connect(_MdtInitParCfg_t const& cfg, int& cnid);
    int disConnect(int const& cnid);
    int postMsg(MsgData const& msg, int const& timeout);
    int postMsg(MsgData const& msg, MsgData& reply, int const& timeout);

private:
    int (*m_callback)(void* msg) = nullptr;
};

} // namespace tz::orvane::mdt
