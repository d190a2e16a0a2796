// IC_semivariogram: any lot and settings, against a plain loop over all pairs, whichever loops run.
#include <cmath>
#include <vector>

#include "semivariogram/kernel/pair_kernel.hpp"
#include "semivariogram/literal_loop.hpp"
#include "semivariogram/search/window_search.hpp"
#include "support/export_call.hpp"

using namespace fuzz;

namespace {

struct request {
    t_gamvset_user set;
    int32_t count;
    std::vector<t_icdata> records;
};

t_gamvset_user settings_of(input_bytes& input) {
    t_gamvset_user set{};
    const std::uint8_t lags = input.byte();
    set.i_nlag = lags < 224 ? 1 + lags % 20 : lags < 248 ? 1 + input.byte() % 98 : input.whole();
    constexpr float usual[] = {0.3F, 0.6F, 0.15F, 0.5F, 1, 3, 0.1F, 10};
    const std::uint8_t lag = input.byte();
    set.x_xlag = lag < 192   ? usual[lag % 8]
                 : lag < 240 ? std::fabs(input.real32(real_kind::parts))
                             : input.real32(input.kind());
    const std::uint8_t direction = input.byte();
    set.x_azm =
        direction < 16 ? input.real32(input.kind()) : 15.0F * static_cast<float>(direction % 24);
    constexpr float tolerances[] = {90, 90, 90, 90,  0,   -1,  10,  22.5F,
                                    45, 60, 89, 180, 270, 300, 360, 1e6F};
    const std::uint8_t cone = input.byte();
    set.x_atol = cone < 240 ? tolerances[cone % 16] : input.real32(input.kind());
    constexpr float bands[] = {1e9F, 1e9F, 100, 100, 0.15F, 0.3F, 1, 2.5F, 0, 1e-7F};
    const std::uint8_t band = input.byte();
    set.x_bandwh = band < 240 ? bands[band % 10] : input.real32(input.kind());
    set.i_standsills = input.flag();
    return set;
}

// Rollers' tracks, strips, crowds: what the search through a grid tells apart.
void add_seeded(seeded& random, std::vector<t_icdata>& into) {
    const int count = 40 + random.below(140), across = 1 + random.below(24), way = random.below(6);
    const double east = way == 4 ? 512345.6 : 0, scale = random.below(3) == 0 ? 1 : 256;
    for (int i = 0; i < count; ++i) {
        double x = 0.3 * (i / across), y = 0.5 * (i % across);
        if (way == 1) x = 20 * random.share(), y = 12 * random.share();
        if (way == 2) x = 0.3 * (i % 40) + 0.02 * random.share(), y = 0.5 * (i / 40);
        if (way == 3) x = random.below(6), y = 0.5 * random.below(4);
        if (way == 5) x = 0.3 * (i / 40 % 2 == 0 ? i % 40 : 39 - i % 40), y = 0.5 * (i / 40);
        const double value = 60 + std::floor(scale * 9 * random.share()) / scale +
                             3 * std::fabs(std::fmod(x, 8) - 4);
        into.push_back({east + x, y, value, 1, 0});
    }
    if (random.below(3) == 0)
        for (std::size_t i = into.size(); i > 1; --i)
            std::swap(into[i - 1],
                      into[static_cast<std::size_t>(random.below(static_cast<int>(i)))]);
}

request made_of(input_bytes& input) {
    request made{};
    made.set = settings_of(input);
    const std::uint8_t size = input.byte();
    const real_kind place = input.kind(), value = input.kind();
    if (size < 216) {
        for (int i = 0; i < size % 36; ++i) {
            t_icdata record{};
            record.d_x = input.real_or_odd(place, 64);
            record.d_y = input.real_or_odd(place, 64);
            record.d_val = input.real_or_odd(value, 64);
            made.records.push_back(record);
        }
    } else if (size < 250) {
        seeded random(input.bits<std::uint32_t>());
        add_seeded(random, made.records);
        for (int odd = input.byte() % 4; odd > 0; --odd) {
            t_icdata& spoiled = made.records[input.byte() % made.records.size()];
            double* const fields[] = {&spoiled.d_x, &spoiled.d_y, &spoiled.d_val};
            *fields[input.byte() % 3] = input.real(input.kind());
        }
    }
    made.count = static_cast<int32_t>(made.records.size());
    if (size >= 250) made.count = std::min(input.whole(), 0);
    return made;
}

struct response {
    guarded<double> distance, gamma, model{2}, x{100}, y{100};
    guarded<float> summary{4};
    call_event<> event;
    int32_t status = 0;

    explicit response(std::size_t classes) : distance(classes), gamma(classes) {}
    void ask(const request& of, guarded<t_icdata>& records, guarded<t_gamvset_user>& set) {
        status =
            IC_semivariogram(of.count, records.data(), set.data(), distance.data(), gamma.data(),
                             model.data(), x.data(), y.data(), summary.data(), event.record());
        event.settle(status, "IC_semivariogram");
        require_guards(distance, gamma, model, x, y, summary, records, set);
        require<"inputs are left alone">(records.is_same_as(of.records) &&
                                         same_bits(set[0], of.set));
    }
    bool is_same_as(const response& other) const {
        return status == other.status && distance.is_same_as(other.distance) &&
               gamma.is_same_as(other.gamma) && model.is_same_as(other.model) &&
               x.is_same_as(other.x) && y.is_same_as(other.y) && summary.is_same_as(other.summary);
    }
};

template <class Values> bool is_zero(const Values& values) {
    return std::all_of(values.begin(), values.end(), [](auto each) { return each == 0; });
}

std::string_view plain_refusal(const t_gamvset_user& set) {
    if (set.i_standsills != 1 && set.i_standsills != 2)
        return "t_gamvset_user%i_standsills has to be either 1 or 2";
    if (set.i_nlag > 98) return "i_nlag + 2 exceeds the maximum 100 lag classes";
    if (set.i_nlag < 1) return "nlag is too small: check parameters";
    if (set.x_xlag < 0) return "xlag is too small: check parameter file";
    if (set.x_bandwh < 0) return "horizontal bandwidth is too small";
    return "";
}

bool same_number(double a, double b) {
    return same_bits(a, b) || (std::isnan(a) && std::isnan(b));
}

void require_experimental(const request& of, const response& got) {
    const t_gamvset_user& user = of.set;
    const qmx::t_gamvset set = {-1e21F,
                                1e21F,
                                user.i_nlag,
                                user.x_xlag,
                                user.x_xlag * 0.5F,
                                user.x_azm,
                                user.x_atol,
                                user.x_bandwh,
                                0,
                                0,
                                user.x_bandwh,
                                user.i_standsills == 1 ? 1 : 0,
                                1,
                                1,
                                1};
    const literal::sums plain = literal::means(set, literal::accumulate(set, of.records));
    bool same = true;
    for (std::size_t k = 0; k < got.distance.size(); ++k)
        same = same && same_number(got.distance[k], plain.dis[k + 1]) &&
               same_number(got.gamma[k], plain.gam[k + 1]);
    require<"lag classes are those of the plain loop">(same);
}

void require_model(const response& got) {
    float most = -std::numeric_limits<float>::infinity();
    for (const double each : got.gamma) most = std::max(most, static_cast<float>(each));
    const double range = got.model[0], sill = got.model[1];
    constexpr double slack = 1e-6;
    require<"the model's parameters keep to their bounds">(
        range <= most * (1 + slack) && sill <= most * (1 + slack) &&
        range >= std::min<double>(1, most) * (1 - slack) &&
        sill >= std::min<double>(0.05F, most) * (1 - slack));
    bool near = true, ascending = true;
    for (std::size_t i = 0; i < 100; ++i) {
        if (i > 0) ascending = ascending && got.x[i] >= got.x[i - 1];
        const double wanted = sill * (1 - std::exp(-3 * got.x[i] / range));
        near = near && std::fabs(got.y[i] - wanted) <= 1e-5 * sill;
    }
    require<"the curve's distances ascend">(ascending);
    require<"the curve is that of the model">(near);
    require<"the summary's parts add up">(got.summary[2] == got.summary[1] - got.summary[3]);
}

void check(const request& of, const response& got) {
    const std::string_view refusal = plain_refusal(of.set);
    const bool succeeded = got.status == QMX_IC_SUCCESS;
    if (!refusal.empty()) {
        require<"what is refused is refused with its text">(!succeeded &&
                                                            got.event.message() == refusal);
        require<"a refused call gives zeros">(is_zero(got.distance) && is_zero(got.gamma));
    } else {
        require_experimental(of, got);
        if (!succeeded)
            require<"a call fails in its fit alone">(got.event.message() ==
                                                     "Only the curvefit fails");
    }
    if (succeeded) return require_model(got);
    require<"a failed call gives no model">(is_zero(got.model) && is_zero(got.x) &&
                                            is_zero(got.y) && is_zero(got.summary));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    input_bytes input(data, size);
    const std::uint8_t another = input.byte(), loops = input.byte();
    const request of = made_of(input);
    const bool overflows = of.set.i_nlag > INT32_MAX - 2;
    const std::size_t classes =
        overflows || of.set.i_nlag < -1 ? 0 : static_cast<std::size_t>(of.set.i_nlag) + 2;
    if (classes > 4096) return -1; // so many are refused, but would be cleared first
    guarded<t_icdata> records(of.records);
    guarded<t_gamvset_user> set({of.set});
    response first(classes);
    first.ask(of, records, set);
    check(of, first);
    if (loops % 4 > 0) return 0;
    const qmx::pair_kernel::version_list versions = qmx::pair_kernel::available_versions();
    qmx::pair_kernel::use_version(versions.entries[loops / 4 % versions.count]);
    qmx::use_windows_everywhere(loops >= 128);
    call_another(another);
    response again(classes);
    again.ask(of, records, set);
    qmx::pair_kernel::use_version(nullptr);
    qmx::use_windows_everywhere(false);
    require<"two calls agree bit for bit, whichever loops run">(first.is_same_as(again));
    return 0;
}
