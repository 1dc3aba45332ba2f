// A run of event detection through one trace, event by event: for a window that lets the user reject and
// skip, and for a command that takes them all.
//
//     EventRun::Run run;
//     if (!EventRun::Open(run, engine)) ...            // the columns of the sweep are emptied
//     while (EventRun::Step(run) == EventRun::Found) ... // or EventRun::ToEnd(run)
//
// The engine must have its range, and its current analysis record, for the selected type: Single Channel or
// Action Potential.
#pragma once
#include "events/action_potential.h"
#include "events/columns.h"
#include "events/single_channel.h"

#include <optional>

namespace EventRun {

enum class LastState : std::uint8_t { Normal, Skipped, Rejected };
enum class StepResult : std::uint8_t { Found, End, Failed };

struct Run {
    SweepFit::Engine* Engine = nullptr;
    EventColumns::Columns Columns;
    std::optional<SingleChannel::Detector> Single;
    std::optional<ActionPotential::Detector> Action;

    int Count = 0; // events that are stored
    bool Notebook = false, HeaderDue = true;
    LastState State = LastState::Normal; // of the last event; rejecting and skipping are only for it
    SingleChannel::Event LastSingle;
    ActionPotential::Event LastAction, FormerAction;
};

// notebook: list each event there. False, after an alert, when a column is missing.
[[nodiscard]] bool Open(Run& run, SweepFit::Engine& engine, bool notebook = false);

// Finds, stores and lists the next event. Failed, after an alert, without memory.
[[nodiscard]] StepResult Step(Run& run);
// False, after an alert, without memory, and when the user stops it.
[[nodiscard]] bool ToEnd(Run& run);

// Takes the last event back. Of a single channel it is joined with what follows, up to the next event of its
// level: durations add up, amplitudes are weighted by their samples. False when nothing can be taken back.
bool Reject(Run& run);
// Marks the last event as removed and keeps its place.
bool Skip(Run& run);

// The page on which the event at a time is shown, from 1: the next one where it lies near the end, else one
// that begins a little ahead of it.
[[nodiscard]] double TrackPage(double page, double length, double time);

}
