#include "study/table/row_crew.hpp"

#include <algorithm>
#include <system_error>
#include <utility>

namespace qmx_study {

namespace {

constexpr std::size_t blocks_a_thread = 3;

void take_block(taken_block& block, const plain_layout& layout) {
    block.numbers.used = 0;
    block.rows = 0;
    block.odd.clear();
    const std::string_view text = block.text;
    for (std::size_t at = 0; at < text.size();) {
        const plain_run run = take_plain_rows(text.substr(at), layout, block.numbers);
        block.rows += run.rows;
        at += run.bytes;
        if (at == text.size()) break;
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        block.odd.push_back({block.rows, at, end});
        at = end;
    }
}

} // namespace

row_crew::row_crew(text_records& text, const plain_layout& wanted, int helpers)
    : source(text), layout(wanted),
      most_ahead(blocks_a_thread * (static_cast<std::size_t>(helpers) + 1)), carried(text.left()) {
    source.go_on_in({});
    try {
        for (int i = 0; i < helpers; ++i) threads.emplace_back([this] { work(); });
    } catch (const std::system_error&) {} // fewer do it too
}

row_crew::~row_crew() {
    {
        const std::lock_guard lock(guard);
        is_ending = true;
    }
    has_work.notify_all();
    for (std::thread& each : threads) each.join();
}

// Cut behind a line, as far as there is one.
bool row_crew::read_block(std::string& block) {
    block.assign(carried);
    carried.clear();
    if (is_at_end) return !block.empty();
    const std::size_t size = pieces_of_text().block_of_a_thread;
    const std::size_t kept = block.size();
    block.resize(kept + size);
    const std::size_t got = source.read_on(block.data() + kept, size);
    block.resize(kept + got);
    is_at_end = got < size;
    const std::size_t last = block.rfind('\n');
    if (is_at_end || last == std::string::npos) // the careful reader joins its pieces
        return !block.empty();
    carried.assign(block, last + 1);
    block.resize(last + 1);
    return true;
}

void row_crew::read_ahead() {
    for (;;) {
        std::unique_ptr<job> fresh;
        {
            const std::lock_guard lock(guard);
            if (jobs.size() >= most_ahead) return;
            if (!spare.empty()) {
                fresh = std::move(spare.back());
                spare.pop_back();
            }
        }
        if (!fresh) fresh = std::make_unique<job>();
        fresh->now = state::waiting;
        if (!read_block(fresh->block.text)) return;
        {
            const std::lock_guard lock(guard);
            jobs.push_back(std::move(fresh));
        }
        has_work.notify_one();
    }
}

taken_block* row_crew::next() {
    read_ahead();
    std::unique_lock lock(guard);
    if (handed_out) spare.push_back(std::move(handed_out));
    if (jobs.empty()) return nullptr;
    while (jobs.front()->now != state::done)
        if (!take_waiting(lock)) has_result.wait(lock);
    handed_out = std::move(jobs.front());
    jobs.pop_front();
    if (handed_out->failure) std::rethrow_exception(handed_out->failure);
    return &handed_out->block;
}

bool row_crew::take_waiting(std::unique_lock<std::mutex>& lock) {
    const auto waiting = std::find_if(jobs.begin(), jobs.end(),
                                      [](const auto& each) { return each->now == state::waiting; });
    if (waiting == jobs.end()) return false;
    job& mine = **waiting; // it stays where it is, whatever comes and goes in the queue
    mine.now = state::in_work;
    lock.unlock();
    take(mine);
    lock.lock();
    mine.now = state::done;
    return true;
}

void row_crew::work() {
    std::unique_lock lock(guard);
    while (!is_ending) {
        if (take_waiting(lock))
            has_result.notify_one();
        else
            has_work.wait(lock);
    }
}

void row_crew::take(job& each) const {
    try {
        take_block(each.block, layout);
    } catch (...) {
        each.failure = std::current_exception();
    }
}

} // namespace qmx_study
