#include "study/output/semivariogram_file.hpp"

#include <fmt/format.h>

#include "study/output/table_writer.hpp"

namespace qmx_study {

void write_semivariogram(const std::string& output, const semivariogram_answer& answer) {
    const semivariogram& result = answer.result;
    std::string text = "part,class,lag,pairs,distance,semivariance,model,best_model\n";
    const auto best_at = [&](double distance) {
        const nugget_model* const best = answer.models.best_fit();
        return best && distance > 0 ? fmt::format("{}", best->at(distance)) : std::string();
    };
    for (std::size_t k = 0; k < result.distances.size(); ++k) {
        text += fmt::format("lag,{},{},{},", k, k == 0 ? "" : fmt::format("{}", answer.lag_of(k)),
                            answer.is_counted(k) ? fmt::format("{}", answer.pairs[k]) : "");
        text += answer.is_empty(k)
                    ? std::string(",")
                    : fmt::format("{},{}", result.distances[k], result.semivariances[k]);
        text += answer.is_empty(k) || !answer.is_fitted() ? std::string(",")
                                                          : fmt::format(",{}", answer.model[k]);
        text += fmt::format(",{}\n", best_at(result.distances[k]));
    }
    for (std::size_t i = 0; answer.is_fitted() && i < result.curve_x.size(); ++i)
        text += fmt::format("curve,,,,{},,{},{}\n", static_cast<float>(result.curve_x[i]),
                            static_cast<float>(result.curve_y[i]), best_at(result.curve_x[i]));
    write_csv_text(output, text);
}

} // namespace qmx_study
