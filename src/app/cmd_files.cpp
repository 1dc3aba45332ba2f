// bundle, unbundle, rebuild, merge, compress: the files of a data set put into another shape. The traces read
// afterwards are the same, but for compress. A data set that was a bundle is one again at the end, and one
// with its trees beside it stays so; only bundle and unbundle change that.
#include "app/command_line.h"
#include "app/commands.h"
#include "app/interrupt.h"
#include "base/messages.h"
#include "data/bundle.h"
#include "data/merge.h"
#include "data/raw_write.h"
#include "data/rebuild.h"
#include "setup/settings.h"

#include <cstdio>
#include <memory>

namespace Commands {

namespace {

struct Arguments {
    std::string File, Other, Target;
    int Factor = 0;
};

// The kind before it is opened for changes, which takes a bundle apart.
bool KindOf(const std::string& file, Bundle::FileKind& kind) {
    if (!OpenDataFile(CurrentSession(), file)) return false;
    kind = CurrentSession().FileKind;
    CommandLine::CloseSession();
    return true;
}

int Report(bool done, const std::string& text) {
    if (done) std::printf("%s\n", text.c_str());
    return done ? CommandLine::Done : CommandLine::Failed;
}

// Opens, works, and closes; what the work did not do is stored all the same as it was.
template <class Work>
int Change(const Arguments& arguments, bool asBundle, const std::string& result, Work work) {
    if (!CommandLine::OpenForChanges(arguments.File)) return CommandLine::Failed;
    const Interrupt::Guard interruptible;
    Setup::Settings.UseBundle = asBundle;
    const bool done = work(CurrentSession());
    const bool closed = CloseDataFile(CurrentSession(), true);
    if (Interrupt::Requested()) Messages::Alert("Stopped by the user.");
    return Report(done && closed, arguments.File + ": " + result);
}

bool Nothing(DataSession&) {
    return true;
}

int RunBundle(const Arguments& arguments) {
    Bundle::FileKind kind{};
    if (!KindOf(arguments.File, kind)) return CommandLine::Failed;
    if (kind == Bundle::FileKind::Bundle) return Report(true, arguments.File + ": is a bundle already");
    if (kind == Bundle::FileKind::WithHeader) return Change(arguments, true, "bundled", Nothing);
    Messages::Alert("Only a data file with a header can be a bundle: \"rebuild\" gives it one.");
    return CommandLine::Failed;
}

int RunUnbundle(const Arguments& arguments) {
    Bundle::FileKind kind{};
    if (!KindOf(arguments.File, kind)) return CommandLine::Failed;
    if (kind != Bundle::FileKind::Bundle) return Report(true, arguments.File + ": is no bundle");
    return Change(arguments, false, "trees stand beside it", Nothing);
}

// What the other commands have in common.
template <class Work>
int KeepForm(const Arguments& arguments, const std::string& result, Work work) {
    Bundle::FileKind kind{};
    if (!KindOf(arguments.File, kind)) return CommandLine::Failed;
    return Change(arguments, kind == Bundle::FileKind::Bundle, result, work);
}

int RunRebuild(const Arguments& arguments) {
    return KeepForm(arguments, "in order", [](DataSession& session) {
        return Rebuild::RebuildDataFile(session, Bytes::MachineIsLittle) &&
               (session.Native || !Messages::BreakAsked());
    });
}

int RunMerge(const Arguments& arguments) {
    return KeepForm(arguments, "merged with " + arguments.Other,
                    [&](DataSession& session) { return MergeDataFile(session, arguments.Other); });
}

int RunCompress(const Arguments& arguments) {
    CommandLine::Target target;
    if (!CommandLine::ParseTarget(arguments.Target, 1, 4, target))
        return CommandLine::Misused("A target is group[.series[.sweep[.trace]]], such as 1.2 or 1.2.1.1.");
    return KeepForm(arguments, "compressed by " + std::to_string(arguments.Factor),
                    [&](DataSession& session) {
                        void* const record = CommandLine::Find(target);
                        return record && RawData::CompressTraces(session, record, arguments.Factor);
                    });
}

std::shared_ptr<Arguments> FileArgument(const Words& words) {
    const auto arguments = std::make_shared<Arguments>();
    words.Add("FILE", arguments->File, "Data file").Needed();
    return arguments;
}

}

Procedure DeclareBundle(const Words& words) {
    return [arguments = FileArgument(words)] { return RunBundle(*arguments); };
}

Procedure DeclareUnbundle(const Words& words) {
    return [arguments = FileArgument(words)] { return RunUnbundle(*arguments); };
}

Procedure DeclareRebuild(const Words& words) {
    return [arguments = FileArgument(words)] { return RunRebuild(*arguments); };
}

Procedure DeclareMerge(const Words& words) {
    const auto arguments = FileArgument(words);
    words.Add("OTHER", arguments->Other, "Data file whose groups are appended").Needed();
    return [arguments] { return RunMerge(*arguments); };
}

Procedure DeclareCompress(const Words& words) {
    const auto arguments = FileArgument(words);
    words.Add("TARGET", arguments->Target, "group[.series[.sweep[.trace]]], from 1").Needed();
    words.Add("FACTOR", arguments->Factor, "Samples that become one, their mean")
        .Needed()
        .Between(2, Setup::MaxSamplePointsHighest);
    return [arguments] { return RunCompress(*arguments); };
}

}
