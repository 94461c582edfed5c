// SPDX-License-Identifier: Apache-2.0
// What the player's operations have in common: how a command begins, how a query is asked and answered.
#pragma once

#include "message_util.h"

#include "orvane/omc_mediaplayer.h"

#include <type_traits>

namespace tz::orvane::omc
{

inline constexpr char kLogFile[] = "omc_mediaplayer";
inline constexpr char kLogClass[] = "OmcMediaPlayer";

/// Logs the entry of an operation and begins its one-way command.
Request command(OmcMediaPlayer& player, platform::LogSite const& site, int code);

/// Begins a message of the player without a word, for operations that log an entry of their own or none.
Request request(OmcMediaPlayer& player, platform::LogSite const& site, int code, int type);

/// One question to the service and its answer, both on the stack of the operation that asks.
class PlayerQuery
{
public:
    /// Logs the entry of the operation.
    PlayerQuery(OmcMediaPlayer& player, platform::LogSite const& site, int code);

    /// Sends a record along.
    template <class Record> PlayerQuery& carry(Record const& record)
    {
        m_request.data(&record, sizeof record);
        return *this;
    }

    /// Sends the question and waits for the answer. @return the messenger's result
    int ask();

    // Readers of the answer; a failure is logged. They give the read's own result.

    int read(unsigned int& value);
    int read(long long& value);

    /// One number of several, whatever became of those before it. @return 0 when it cannot be read
    unsigned int readAt(int index);

    /// An answer that is too short leaves the end of the record as it was.
    template <class Record> int readRecord(Record& record) { return readRecord(&record, sizeof record); }

    /// Asks for one number. @return the messenger's negative result, else the read's
    template <class Value> int value(Value& value);

    /// Asks for one record. @return the messenger's negative result, else the read's
    template <class Record> int record(Record& record)
    {
        int const result = ask();
        return result < 0 ? result : readRecord(record);
    }

private:
    int readRecord(void* record, unsigned short size);
    int logRead(int result) const;

    Request m_request;
    mdt::MsgData m_reply;
};

template <class Value> int PlayerQuery::value(Value& value)
{
    int result = ask();
    if (result < 0)
    {
        return result;
    }
    // Enumerations travel as 32-bit numbers.
    std::conditional_t<sizeof(Value) == sizeof(long long), long long, unsigned int> number{};
    result = read(number);
    if (result >= 0)
    {
        value = static_cast<Value>(number);
    }
    return result;
}

} // namespace tz::orvane::omc
