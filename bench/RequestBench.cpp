// What a call through the messaging layer costs: a request's round trip from
// a client thread to the module's actor and back, and the rate of one-way
// callbacks to a client's actor. Each is measured in blocks that alternate
// with a bare two-thread baseline, so both see the same machine load.

#include <benchmark/benchmark.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "BenchSupport.h"
#include "devhost/content/SceneContent.h"
#include "devhost/platform/ObjectRegistry.h"
#include "devhost/platform/ProxyBinding.h"
#include "devhost/platform/TraceLog.h"
#include "devhost/samples/LargeWorld.h"
#include "remote/TreeObserver.h"

namespace {

using Clock = std::chrono::steady_clock;

double MicrosecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// The baseline of a request: a partner thread that answers each call,
// woken through a mutex and a condition variable each way.
class PingPong {
public:
    PingPong() : partner_([this] { Serve(); }) {}
    ~PingPong() {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            stop_ = true;
        }
        asked_.notify_one();
        partner_.join();
    }

    void RoundTrip() {
        std::unique_lock<std::mutex> hold(mutex_);
        const unsigned long long call = ++calls_;
        asked_.notify_one();
        answered_.wait(hold, [&] { return answers_ == call; });
    }

private:
    void Serve() {
        std::unique_lock<std::mutex> hold(mutex_);
        for (;;) {
            asked_.wait(hold, [&] { return stop_ || calls_ != answers_; });
            if (stop_) return;
            answers_ = calls_;
            answered_.notify_one();
        }
    }

    std::mutex mutex_;
    std::condition_variable asked_, answered_;
    unsigned long long calls_ = 0, answers_ = 0;
    bool stop_ = false;
    std::thread partner_;
};

void SelectOneInstance() {
    devhost::SelectionItemDesc item;
    item.contentType = "objectselectionitem";
    item.fields = {{du::Symbol("instance"), "root/a0"}, {du::Symbol("pick_point"), "1 2 3"}};
    devhost::SetSceneSelection("Model", 0, {item});
}

// GetCurrentSelection with a one-item selection, from the benchmark's
// thread through the module's proxy, queue, actor, dispatcher and reply.
void BM_RequestRoundTrip(benchmark::State& state) {
    constexpr int kBlock = 1000;
    devhost::LargeWorldParams params;
    params.instances = 100;
    auto world = devhost::BuildLargeWorld(params);
    SelectOneInstance();
    {
        support::PluginClient client;
        PingPong baseline;
        if (client.Module().GetCurrentSelection().IsNull()) {
            state.SkipWithError("no selection document");
            return;
        }
        std::vector<double> module, bare;
        for (auto _ : state) {
            double spent = 0.0;
            for (int i = 0; i < kBlock; ++i) {
                const Clock::time_point start = Clock::now();
                benchmark::DoNotOptimize(client.Module().GetCurrentSelection());
                module.push_back(MicrosecondsSince(start));
                spent += module.back();
            }
            for (int i = 0; i < kBlock; ++i) {
                const Clock::time_point start = Clock::now();
                baseline.RoundTrip();
                bare.push_back(MicrosecondsSince(start));
            }
            state.SetIterationTime(spent / 1e6 / kBlock);
            // Each call traces its document; the devhost keeps every entry.
            devhost::TraceLog::Clear();
        }
        const double p50 = bench::Percentile(module, 0.50), p99 = bench::Percentile(module, 0.99);
        const double baseP50 = bench::Percentile(bare, 0.50), baseP99 = bench::Percentile(bare, 0.99);
        state.counters["p50_us"] = p50;
        state.counters["p99_us"] = p99;
        state.counters["base_p50_us"] = baseP50;
        state.counters["base_p99_us"] = baseP99;
        state.counters["p50_vs_base"] = p50 / baseP50;
        state.counters["p99_vs_p50"] = p99 / p50;
    }
    world = nullptr;
    bench::DropWorld();
}
BENCHMARK(BM_RequestRoundTrip)->UseManualTime()->Iterations(20)->Unit(benchmark::kMicrosecond);

// The baseline of the callbacks: a consumer thread that takes each value
// off a deque under a mutex, woken through a condition variable.
class BareQueue {
public:
    BareQueue() : consumer_([this] { Consume(); }) {}
    ~BareQueue() {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            stop_ = true;
        }
        ready_.notify_one();
        consumer_.join();
    }

    void Push(const du::Symbol& value) {
        {
            std::lock_guard<std::mutex> hold(mutex_);
            items_.push_back(value);
        }
        ready_.notify_one();
    }
    // Returns once the consumer has taken this many values in all.
    void WaitFor(std::size_t count) {
        std::unique_lock<std::mutex> hold(mutex_);
        done_.wait(hold, [&] { return taken_ >= count; });
    }

private:
    void Consume() {
        std::unique_lock<std::mutex> hold(mutex_);
        for (;;) {
            ready_.wait(hold, [&] { return stop_ || !items_.empty(); });
            if (items_.empty()) return;
            const du::Symbol value = std::move(items_.front());
            items_.pop_front();
            hold.unlock();
            benchmark::DoNotOptimize(value.length());
            hold.lock();
            ++taken_;
            done_.notify_one();
        }
    }

    std::mutex mutex_;
    std::condition_variable ready_, done_;
    std::deque<du::Symbol> items_;
    std::size_t taken_ = 0;
    bool stop_ = false;
    std::thread consumer_;
};

// A "treeUpdate" document of this many entries, as the module writes them.
du::Symbol UpdateDocument(std::size_t entries) {
    std::string text = "{\"treeUpdate\":[";
    for (std::size_t i = 0; i < entries; ++i) {
        if (i > 0) text += ",";
        text += "{\"id\":\"" + std::to_string(1000000 + i) + "\",\"state\":\"3\",\"loaded\":\"true\"}";
    }
    return du::Symbol(text + "]}");
}

// OnTreeUpdate one-way messages sent through the module's proxy of the
// client's tree observer, until the client's actor has taken them all.
// arg: entries per document.
void BM_CallbackThroughput(benchmark::State& state) {
    constexpr std::size_t kBlock = 5000;
    devhost::LargeWorldParams params;
    params.instances = 100;
    auto world = devhost::BuildLargeWorld(params);
    {
        bench::CallCounter received;
        support::PluginClient client{received.Sink()};
        du::SmartPtr<dom::ManagedObject> proxy;
        devhost::MakeProxy(devhost::HandleFor(client.Observer(), 0), "webapi::TreeObserver", proxy);
        const du::SmartPtr<webapi::TreeObserver> observer = du::DynamicCast<webapi::TreeObserver>(proxy);
        if (!observer) {
            state.SkipWithError("no tree observer proxy");
            return;
        }
        const du::Symbol document = UpdateDocument(static_cast<std::size_t>(state.range(0)));
        BareQueue baseline;
        std::size_t handedOff = 0;
        double moduleSeconds = 0.0, bareSeconds = 0.0;
        for (auto _ : state) {
            Clock::time_point start = Clock::now();
            for (std::size_t i = 0; i < kBlock; ++i) observer->OnTreeUpdate(document);
            client.Settle();
            const double spent = MicrosecondsSince(start) / 1e6;
            moduleSeconds += spent;
            state.SetIterationTime(spent);

            start = Clock::now();
            for (std::size_t i = 0; i < kBlock; ++i) baseline.Push(document);
            handedOff += kBlock;
            baseline.WaitFor(handedOff);
            bareSeconds += MicrosecondsSince(start) / 1e6;
        }
        if (received.Calls() != state.iterations() * kBlock) state.SkipWithError("callbacks were lost");
        const double sent = static_cast<double>(state.iterations() * kBlock);
        state.counters["msgs_per_s"] = sent / moduleSeconds;
        state.counters["base_msgs_per_s"] = sent / bareSeconds;
        state.counters["vs_base"] = bareSeconds / moduleSeconds;
        state.counters["doc_bytes"] = static_cast<double>(document.length());
    }
    world = nullptr;
    bench::DropWorld();
}
BENCHMARK(BM_CallbackThroughput)->Arg(1)->Arg(500)->UseManualTime()->Iterations(10)->Unit(benchmark::kMillisecond);

}  // namespace
