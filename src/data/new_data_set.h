// A new data set, written as a bundle: the samples trace by trace, then the trees, then the header that makes
// it one. The file takes its place only when it is whole.
#pragma once
#include "base/files.h"
#include "trees/stim_tree.h"
#include "trees/vennic_tree.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

struct NewDataSet {
    NewDataSet() = default;
    ~NewDataSet();
    NewDataSet(const NewDataSet&) = delete;
    NewDataSet& operator=(const NewDataSet&) = delete;

    Tree::Handle* Vennic = nullptr;
    Tree::Handle* Stim = nullptr;
    VennicRoot* Root = nullptr;
    StimRoot* StimulusRoot = nullptr;
    std::string Version; // of the writing program
    Files::Replacement File;
    std::int64_t Position = 0; // where the next samples go
};

// Starts a data set with empty trees. No data set may be open meanwhile: the trees take its heaps.
[[nodiscard]] bool BeginDataSet(NewDataSet& set, const std::string& path, std::string_view version);

// Appends the samples of a trace, in its TrDataFormat and by its TrDataFactor, in this machine's order, and
// completes the record. False, with an alert, when they cannot be written or the data would pass 2 147 483
// 647 bytes.
[[nodiscard]] bool AppendSamples(NewDataSet& set, VennicTrace& trace, std::span<const float> samples);

// Appends the trees and puts the file in its place.
[[nodiscard]] bool FinishDataSet(NewDataSet& set);
