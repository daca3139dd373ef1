#include "analysis/scanallcards.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <numeric>
#include <set>
#include <thread>

namespace velmara {

namespace {

bool endedScan(const ScanOutcome &outcome)
{
    return outcome.Status == ScanStatus::Done || outcome.Status == ScanStatus::NoStains;
}

void releasePixels(CardImage &card)
{
    card.ReleasedForeground = card.Pixels.size() >= 2 ? static_cast<std::int64_t>(card.Pixels.size()) - 2 : 0;
    std::vector<CardPixel>().swap(card.Pixels);
}

// The same figure ScanImage leaves, for a card scanned on a copy of its record.
Single maxDiameterOfScanned(const Workspace &ws)
{
    Single m = 0;
    for (int i = 1; i <= ws.CardCount(); ++i)
        if (ws.Card(i).Scanned && ws.Card(i).MaxDiameter > m)
            m = ws.Card(i).MaxDiameter;
    return m;
}

// What the end of a scan tells, in the order the boxes of the window would come.
void tellScanned(int i, const ScanOutcome &outcome, bool &zeroVolumeTold, ScanAllHooks &hooks)
{
    if (!outcome.Message.empty())
        hooks.notify(i, outcome.Message);
    // One notice per run: every card of it has the same spread factor.
    if (outcome.ZeroVolume && !zeroVolumeTold) {
        hooks.notify(i, kZeroVolumeNotice);
        zeroVolumeTold = true;
    }
    hooks.scanned(i, outcome);
}

ScanAllSummary scanInTurn(Workspace &ws, const std::vector<int> &cards, bool followCurrent,
                          DecodeQuestions &questions, ScanAllHooks &hooks, ProgressSink &progress,
                          bool release)
{
    ScanAllSummary summary;
    bool zeroVolumeTold = false;
    const int total = static_cast<int>(cards.size());
    int done = 0;

    for (int i : cards) {
        ++done;
        if (followCurrent)
            ws.CurrentCard = i;
        hooks.cardStarted(i);
        if (!ws.Card(i).PixelsReady) {
            hooks.decodeStarting(i);
            const DecodeResult decoded = DecodeCard(ws, i, questions, progress);
            if (!decoded.Ok && !decoded.Cancelled && !decoded.Message.empty())
                hooks.notify(i, decoded.Message);
        }
        if (!ws.CancelRequested && ws.Card(i).PixelsReady) {
            hooks.scanStarting(i);
            const ScanOutcome outcome = ScanImage(ws, i, progress);
            if (endedScan(outcome)) {
                tellScanned(i, outcome, zeroVolumeTold, hooks);
                ++summary.Scanned;
                if (release)
                    releasePixels(ws.Card(i));
            }
        }
        if (ws.CancelRequested)
            break;
        hooks.cardFinished(i, done, total);
    }
    return summary;
}

// One card worked away from the list: its record, the question flags as they stood when it was
// handed out, and what came of it.
struct Job
{
    int Index = 0;
    CardImage Card;
    bool DisableBackground = false;
    bool DisableDither = false;

    bool Decoded = false;
    DecodeResult Decode;
    bool ScanRun = false;
    ScanOutcome Scan;
    std::exception_ptr Error;
    bool Done = false;

    // A question put by the worker, waiting for the caller's thread: 0 none, 1 background,
    // 2 dither. The worker is parked until Answered, so Asking may be read meanwhile.
    int Question = 0;
    Byte Arg1 = 0;
    Byte Arg2 = 0;
    const CardImage *Asking = nullptr;
    bool Answered = false;
    Answer Reply = Answer::No;
};

// Several workers decode and scan while the caller's thread commits the cards in list order:
// hooks, questions and the list are touched by the caller's thread alone.
class ParallelRun
{
public:
    ParallelRun(Workspace &ws, DecodeQuestions &questions, int jobs, bool release)
        : mWs(ws), mQuestions(questions), mRelease(release), mWindow(static_cast<size_t>(2 * jobs))
    {
        // The workers copy everything a decode or scan reads, but no card and none of the line's
        // statistics.
        std::vector<CardImage> cards = std::move(ws.Cards);
        ws.Cards = {CardImage{}};
        mBase = std::make_unique<Workspace>(ws);
        ws.Cards = std::move(cards);
        mBase->CardRange = {};
        mBase->CompositeAll = {};
        mBase->CompositeRange = {};
        mBase->LineStats.clear();
        mBase->SwathSets = {};
        mBase->CancelRequested = false;
        mJobCount = jobs;
    }

    ~ParallelRun() { stop(); }

    ScanAllSummary run(const std::vector<int> &cards, bool followCurrent, ScanAllHooks &hooks)
    {
        ScanAllSummary summary;
        bool zeroVolumeTold = false;
        const int total = static_cast<int>(cards.size());
        Single largest = maxDiameterOfScanned(mWs);
        for (int t = 0; t < mJobCount; ++t)
            mThreads.emplace_back([this] { work(); });
        size_t handedOut = 0;
        for (size_t at = 0; at < cards.size(); ++at) {
            for (; handedOut < cards.size() && handedOut < at + mWindow; ++handedOut)
                handOut(cards[handedOut]);
            std::unique_ptr<Job> job = waitFor();
            const int i = job->Index;
            if (followCurrent)
                mWs.CurrentCard = i;
            hooks.cardStarted(i);
            if (job->Decoded)
                hooks.decodeStarting(i);
            // A cancel or a failure keeps the card reached as it was, and nothing after it counts.
            if (mWs.CancelRequested)
                break;
            if (job->Error) {
                stop();
                std::rethrow_exception(job->Error);
            }
            if (job->ScanRun) {
                hooks.scanStarting(i);
                if (mWs.CancelRequested)
                    break;
            }
            const bool rescanned = mWs.Card(i).Scanned;
            mWs.Card(i) = std::move(job->Card);
            if (job->Decoded && !job->Decode.Ok && !job->Decode.Cancelled && !job->Decode.Message.empty())
                hooks.notify(i, job->Decode.Message);
            if (job->ScanRun && endedScan(job->Scan)) {
                // Kept up card by card: a walk over the whole list for each card would make a
                // large batch wait on this thread.
                largest = rescanned ? maxDiameterOfScanned(mWs) : std::max(largest, mWs.Card(i).MaxDiameter);
                mWs.MaxDiameterAll = largest;
                tellScanned(i, job->Scan, zeroVolumeTold, hooks);
                ++summary.Scanned;
            }
            if (mWs.CancelRequested)
                break;
            hooks.cardFinished(i, static_cast<int>(at) + 1, total);
        }
        stop();
        return summary;
    }

private:
    class Relay : public DecodeQuestions
    {
    public:
        explicit Relay(ParallelRun &run) : mRun(run) {}
        Answer AskBackground(const Workspace &ws, int cardIndex, Byte likeliest) override
        {
            return mRun.ask(*Current, 1, ws.Card(cardIndex), likeliest, 0);
        }
        Answer AskDither(const Workspace &ws, int cardIndex, Byte background, Byte dither) override
        {
            return mRun.ask(*Current, 2, ws.Card(cardIndex), background, dither);
        }
        Job *Current = nullptr;

    private:
        ParallelRun &mRun;
    };

    void handOut(int index)
    {
        auto job = std::make_unique<Job>();
        job->Index = index;
        job->Card = mWs.Card(index);
        job->DisableBackground = mWs.DisableBackgroundWarning;
        job->DisableDither = mWs.DisableDitherWarning;
        {
            std::lock_guard lock(mMutex);
            mQueue.push_back(job.get());
            mJobs.push_back(std::move(job));
        }
        mWorkReady.notify_one();
    }

    // The oldest job handed out, once finished; the questions it puts meanwhile are answered here.
    std::unique_ptr<Job> waitFor()
    {
        std::unique_lock lock(mMutex);
        Job *job = mJobs.front().get();
        for (;;) {
            mCallerWake.wait(lock, [&] { return job->Done || (job->Question != 0 && !job->Answered); });
            if (job->Done)
                break;
            lock.unlock();
            const Answer reply = answer(*job);
            lock.lock();
            job->Reply = reply;
            job->Answered = true;
            mAnswerReady.notify_all();
        }
        std::unique_ptr<Job> taken = std::move(mJobs.front());
        mJobs.pop_front();
        return taken;
    }

    // The question as the list's own run would put it: a card after a "to all" answer is not
    // asked, and takes what not being asked gives.
    Answer answer(const Job &job)
    {
        const bool background = job.Question == 1;
        if (background ? mWs.DisableBackgroundWarning : mWs.DisableDitherWarning)
            return background ? Answer::Yes : Answer::No;
        // The question sees the card as the decode has it so far.
        CardImage &shown = mWs.Card(job.Index);
        CardImage kept = std::move(shown);
        shown = *job.Asking;
        const Answer reply = background ? mQuestions.AskBackground(mWs, job.Index, job.Arg1)
                                        : mQuestions.AskDither(mWs, job.Index, job.Arg1, job.Arg2);
        shown = std::move(kept);
        if (reply == Answer::YesToAll)
            (background ? mWs.DisableBackgroundWarning : mWs.DisableDitherWarning) = true;
        return reply;
    }

    Answer ask(Job &job, int question, const CardImage &card, Byte arg1, Byte arg2)
    {
        std::unique_lock lock(mMutex);
        job.Question = question;
        job.Arg1 = arg1;
        job.Arg2 = arg2;
        job.Asking = &card;
        job.Answered = false;
        mCallerWake.notify_all();
        mAnswerReady.wait(lock, [&] { return job.Answered || mStopping; });
        job.Question = 0;
        // A run that stops drops this card anyway.
        return job.Answered ? job.Reply : Answer::No;
    }

    void work()
    {
        Workspace scratch = *mBase;
        Relay relay(*this);
        for (;;) {
            Job *job = nullptr;
            {
                std::unique_lock lock(mMutex);
                mWorkReady.wait(lock, [&] { return mStopping || !mQueue.empty(); });
                if (mStopping)
                    return;
                job = mQueue.front();
                mQueue.pop_front();
            }
            relay.Current = job;
            workOn(*job, scratch, relay);
            {
                std::lock_guard lock(mMutex);
                job->Done = true;
            }
            mCallerWake.notify_all();
        }
    }

    void workOn(Job &job, Workspace &scratch, DecodeQuestions &relay)
    {
        scratch.Cards.resize(2);
        scratch.Cards[1] = std::move(job.Card);
        scratch.DisableBackgroundWarning = job.DisableBackground;
        scratch.DisableDitherWarning = job.DisableDither;
        try {
            if (!scratch.Card(1).PixelsReady) {
                job.Decoded = true;
                job.Decode = DecodeCard(scratch, 1, relay);
            }
            if (scratch.Card(1).PixelsReady) {
                job.ScanRun = true;
                job.Scan = ScanImage(scratch, 1, NoProgress());
                if (mRelease && endedScan(job.Scan))
                    releasePixels(scratch.Card(1));
            }
        } catch (...) {
            job.Error = std::current_exception();
        }
        job.Card = std::move(scratch.Cards[1]);
    }

    void stop()
    {
        {
            std::lock_guard lock(mMutex);
            mStopping = true;
        }
        mWorkReady.notify_all();
        mAnswerReady.notify_all();
        for (std::thread &t : mThreads)
            if (t.joinable())
                t.join();
    }

    Workspace &mWs;
    DecodeQuestions &mQuestions;
    const bool mRelease;
    const size_t mWindow;
    int mJobCount = 0;
    std::unique_ptr<Workspace> mBase;

    std::mutex mMutex;
    std::condition_variable mWorkReady;
    std::condition_variable mCallerWake;
    std::condition_variable mAnswerReady;
    std::deque<Job *> mQueue;                // handed out, not yet taken by a worker
    std::deque<std::unique_ptr<Job>> mJobs;  // handed out, not yet committed, in list order
    bool mStopping = false;
    std::vector<std::thread> mThreads;
};

ScanAllSummary scanList(Workspace &ws, const std::vector<int> &requested, bool followCurrent,
                        DecodeQuestions &questions, ScanAllHooks &hooks, ProgressSink &progress,
                        const ScanAllOptions &options)
{
    std::vector<int> cards;
    for (int i : requested)
        if (i >= 1 && i <= ws.CardCount())
            cards.push_back(i);

    // A card listed twice is decoded once and then scanned again, which only a run in turn gives.
    const bool distinct = std::set<int>(cards.begin(), cards.end()).size() == cards.size();
    const int jobs = std::min(options.Jobs, static_cast<int>(cards.size()));
    ScanAllSummary summary;
    if (jobs > 1 && distinct) {
        ParallelRun run(ws, questions, jobs, options.ReleasePixels);
        summary = run.run(cards, followCurrent, hooks);
    } else {
        summary = scanInTurn(ws, cards, followCurrent, questions, hooks, progress, options.ReleasePixels);
    }

    if (ws.CancelRequested) {
        ws.CancelRequested = false;
        summary.Cancelled = true;
    }
    return summary;
}

} // namespace

ScanAllSummary ScanCards(Workspace &ws, const std::vector<int> &cards, DecodeQuestions &questions,
                         ScanAllHooks &hooks, ProgressSink &progress, const ScanAllOptions &options)
{
    return scanList(ws, cards, false, questions, hooks, progress, options);
}

ScanAllSummary ScanAllCards(Workspace &ws, DecodeQuestions &questions, ScanAllHooks &hooks,
                            ProgressSink &progress, const ScanAllOptions &options)
{
    const int remembered = ws.CurrentCard;
    std::vector<int> all(static_cast<size_t>(ws.CardCount()));
    std::iota(all.begin(), all.end(), 1);
    const ScanAllSummary summary = scanList(ws, all, true, questions, hooks, progress, options);
    if (!summary.Cancelled)
        ws.CurrentCard = remembered;
    return summary;
}

} // namespace velmara
