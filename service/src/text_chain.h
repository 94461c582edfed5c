// SPDX-License-Identifier: Apache-2.0
// Draws the text of one input of the screen.
#pragma once

#include "gst_ptr.h"
#include "text_look.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tz::orvane::service
{

/// What is to be drawn, handed from the loop to the threads of the screen.
class SharedText
{
public:
    struct State
    {
        std::string text;
        TextLook look;
        unsigned int fonts = 0; ///< grows when there are new ones
        unsigned int number = 0;
    };

    /// @param text plain, empty for none @param newFont the look may name a font that was installed a moment ago
    void set(std::string const& text, TextLook const& look, bool newFont);

    /// @return nothing when it is the state of that number still
    std::optional<State> newerThan(unsigned int number) const;

private:
    mutable std::mutex m_mutex;
    State m_state;
};

/// Draws on the pictures that pass, on their thread.
class TextChain
{
public:
    explicit TextChain(std::shared_ptr<SharedText const> shared)
        : m_shared(std::move(shared))
    {
    }
    TextChain(TextChain const&) = delete;
    TextChain& operator=(TextChain const&) = delete;

    /// Puts itself between two pads. @return whether it is there now
    bool join(GstElement* pipeline, GstPad* source, GstPad* sink);

private:
    static GstPadProbeReturn onPicture(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    bool link();
    void unlink();
    void update();

    std::shared_ptr<SharedText const> m_shared;
    GstElement* m_pipeline = nullptr;
    GstPad* m_source = nullptr;
    GstPad* m_sink = nullptr;
    ObjectPtr<GstElement> m_overlay;

    // Of the pictures' thread.
    unsigned int m_number = 0;
    unsigned int m_fonts = 0;
};

} // namespace tz::orvane::service
