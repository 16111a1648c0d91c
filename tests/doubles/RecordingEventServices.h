// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "doubles/RecordingDesktopInput.h"
#include "platform/EventServices.h"

#include <functional>
#include <variant>
#include <vector>

/// What a RecordingEventServices knows and was asked; the test keeps it, so it outlives the adapter
/// that the code under test owns.
struct EventRecord
{
    /// The question where the pointer is.
    struct LocationQuestion
    {
        bool operator==(const LocationQuestion &) const = default;
    };

    /// One call of postMouse() with all its events.
    struct MousePost
    {
        std::optional<platform::SourceState> source;
        std::vector<platform::MouseEvent> events;
        platform::EventTap tap = platform::EventTap::Hid;

        bool operator==(const MousePost &) const = default;
    };

    using Call = std::variant<LocationQuestion, platform::KeyboardEvent, MousePost>;

    /// Where the pointer is said to be; a posted event does not move it.
    platform::Location location;
    /// What happens when the pointer is asked for; may throw.
    std::function<void()> onLocationQuestion = [] {};
    /// Every call in its order.
    std::vector<Call> calls;
    /// What the same keyboard and pointer were asked as DesktopInput.
    DesktopInputRecord input;

    std::vector<platform::KeyboardEvent> keyboardEvents() const
    {
        return callsOfType<platform::KeyboardEvent>();
    }
    std::vector<MousePost> mousePosts() const { return callsOfType<MousePost>(); }

private:
    template <typename Type> std::vector<Type> callsOfType() const
    {
        std::vector<Type> found;
        for (const Call &call : calls) {
            if (const Type *wanted = std::get_if<Type>(&call)) {
                found.push_back(*wanted);
            }
        }
        return found;
    }
};

/// Event services that post nothing and write down what they were asked.
class RecordingEventServices final : public platform::EventServices
{
public:
    /// `record` must outlive the services.
    explicit RecordingEventServices(EventRecord &record)
        : sharedRecord(record)
        , recordingInput(record.input)
    {
    }

    platform::Location pointerLocation() override
    {
        sharedRecord.calls.push_back(EventRecord::LocationQuestion{});
        sharedRecord.onLocationQuestion();
        return sharedRecord.location;
    }

    void postKeyboard(const platform::KeyboardEvent &event) override
    {
        sharedRecord.calls.push_back(event);
    }

    void postMouse(std::optional<platform::SourceState> source,
                   std::span<const platform::MouseEvent> events, platform::EventTap tap) override
    {
        sharedRecord.calls.push_back(
            EventRecord::MousePost{source, {events.begin(), events.end()}, tap});
    }

    platform::DesktopInput &input() override { return recordingInput; }

private:
    EventRecord &sharedRecord;
    RecordingDesktopInput recordingInput;
};
