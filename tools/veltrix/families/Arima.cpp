#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/TS/ARIMA/SARMA.h"
#include "support/NumberText.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/SeriesFamily.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/NumberFormat.h"

namespace Veltrix::Tool {

namespace {

using namespace Engine::TS::ARIMA;

constexpr const char* kOrder = "--order";
constexpr const char* kSeasonal = "--seasonal";
constexpr const char* kPeriod = "--period";
constexpr const char* kAuto = "--auto";

/// Orders of an AR part, of differencing and of an MA part.
struct Orders {
    std::uint64_t ar = 0;
    std::uint64_t differences = 0;
    std::uint64_t ma = 0;

    std::string text() const { return fmt::format("({},{},{})", ar, differences, ma); }
};

/// "2,1,1".
Orders parseOrders(const char* option, const std::string& text) {
    constexpr double kMost = 1000.0;
    const std::vector<std::string> parts = splitAtCommas(text);
    std::array<std::uint64_t, 3> numbers{};
    bool sound = parts.size() == numbers.size();
    for (std::size_t k = 0; sound && k < numbers.size(); ++k) {
        const auto number = Support::parseNumber(std::string_view(parts[k]));
        sound = number && *number >= 0.0 && *number <= kMost && *number == std::floor(*number);
        if (sound) numbers[k] = static_cast<std::uint64_t>(*number);
    }
    if (!sound) {
        throw UserError(
            fmt::format("{}: {}, expected three whole numbers from 0 to {}, as in 2,1,1", option,
                        Tool::quoted(text), kMost));
    }
    return {numbers[0], numbers[1], numbers[2]};
}

/// What is fitted to a series.
struct Specification {
    Orders orders;
    Orders seasonal;
    std::uint64_t period = 0;  ///< 0 without season

    bool isSeasonal() const { return period > 0; }
    std::string text() const {
        return isSeasonal() ? fmt::format("{}{}{}", orders.text(), seasonal.text(), period)
                            : orders.text();
    }
    double numCoefficients() const {
        return static_cast<double>(orders.ar + orders.ma + seasonal.ar + seasonal.ma);
    }
};

std::unique_ptr<ARMA> copyOf(const ARMA& model) {
    if (const auto* seasonal = dynamic_cast<const SARMA*>(&model)) {
        return std::make_unique<SARMA>(*seasonal);
    }
    return std::make_unique<ARMA>(model);
}

/// The small-sample criterion with all coefficients counted, seasonal ones too.
double criterion(const ARMA& model, const Specification& of) {
    const double k = of.numCoefficients() + 2.0;
    const auto n = static_cast<double>(model.data().numProcessedRecords());
    if (k + 1.0 >= n) return std::numeric_limits<double>::max();
    return model.lnL() + 2.0 * k + 2.0 * k * (k + 1.0) / (n - k - 1.0);
}

/// A model that was tried.
struct Trial {
    Specification specification;
    std::unique_ptr<ARMA> model;
    double aicc = 0.0;
};

class Arima : public StoredFamily<Arima, SeriesFamily> {
  public:
    FamilyNames names() const override {
        return {"arima", "Fits and forecasts a series by an ARIMA or seasonal ARIMA model", "ARIMA",
                "", "--order 1,0,0"};
    }

    void checkOptions() const override {
        chosenSpecification();
        if (seasonalText_.empty() && period_ > 0) {
            throw UserError(fmt::format("{}: not used without {}", kPeriod, kSeasonal));
        }
        if (!seasonalText_.empty() && period_ == 0) {
            throw UserError(fmt::format("{}: not given, expected the length of the season for {}",
                                        kPeriod, kSeasonal));
        }
    }

    std::string title(const std::string& series) const override {
        return fmt::format("ARIMA{} of {}", specification_.text(), series);
    }

    static void describeFields(auto& a, auto& self) {
        a("seasonal", self.seasonal_);
        describeSeries(a, self);
        if constexpr (std::remove_reference_t<decltype(a)>::kReads) {
            self.model_ = self.seasonal_ ? std::make_unique<SARMA>() : std::make_unique<ARMA>();
        }
        storedModel(a, "model", *self.model_);
    }

  protected:
    void modelOptions(OptionGroup& own) override {
        own.text(kOrder, orderText_, "Orders p,d,q: AR coefficients, differences, MA coefficients")
            .placeholder("p,d,q")
            .required();
        own.text(kSeasonal, seasonalText_, "Seasonal orders P,D,Q; needs --period")
            .placeholder("P,D,Q");
        own.count(kPeriod, period_, "Length of the season", std::int64_t{2}).placeholder("s");
        own.flag("--no-constant", noConstant_, "Leaves the mean of the differenced series in");
        own.flag("--textbook-ma", textbookMA_,
                 "Multiplies the MA polynomials with a plus sign, as textbooks do, not a minus")
            .needs(kSeasonal);
        own.flag(kAuto, auto_,
                 "Tries all models up to these orders p, q, P, Q and takes the one of least AICc");
    }

    void fitTo(const Vector& series) override {
        const Specification most = chosenSpecification();
        seasonal_ = most.isSeasonal();
        specification_ = most;
        trials_.clear();
        if (auto_) {
            tryAll(series, most);
        } else {
            try {
                model_ = fitted(series, most);
            } catch (const Engine::TooFewRecords&) {
                throw UserError(fmt::format("{}: {} values are too few for ARIMA{}", kOrder,
                                            series.size(), most.text()));
            }
        }
        model_->computeModelDetails();
        model_->performLjungBoxTest();
    }

    bool isFitted() const override { return model_ && model_->isFitted(); }

    void summarizeModel(Table& summary) const override {
        summary.entry("Model", "ARIMA" + specification_.text())
            .entry("Constant", model_->isConstantIncluded() ? "yes" : "no");
        if (seasonal_) {
            summary.entry("Sign of products of MA coefficients", textbookMA_ ? "plus" : "minus");
        }
        summary
            .entry("Values after differencing",
                   static_cast<std::int64_t>(model_->data().numProcessedRecords()))
            .entry("Mean after differencing", model_->data().mean())
            .entry("White-noise variance", model_->whiteNoiseVariance())
            .entry("-2 log-likelihood", model_->lnL())
            .entry("AIC", model_->aic())
            .entry("AICc", shown(model_->aicc()))
            .entry("BIC", model_->bic());
        if (seasonal_) {
            summary.entry("AICc, all coefficients", shown(criterion(*model_, specification_)))
                .note("AIC, AICc and BIC count p + q + 2 coefficients.");
        }
    }

    void describeModel(ReportBuilder& report, double confidence) const override {
        const DataFrame frame = model_->getCoefficientFrame();
        const double z = Engine::Distributions::normalQuantile((1.0 + confidence) / 2.0);
        const Vector estimates = Convert::toDoubleVector(frame(Util::all, 0));
        const Vector errors = Convert::toDoubleVector(frame(Util::all, 1));
        Vector pValues = Convert::toDoubleVector(frame(Util::all, 2));
        for (std::size_t k = 0; k < pValues.size(); ++k) {
            if (!(errors[k] > 0.0)) pValues[k] = std::numeric_limits<double>::quiet_NaN();
        }
        report.table("Coefficients")
            .text("Coefficient", frame.getRowNames())
            .numbers("Estimate", estimates)
            .numbers("Standard error", errors)
            .probability("p-value", std::move(pValues))
            .numbers("Lower " + percentText(confidence), estimates - errors * z)
            .numbers("Upper " + percentText(confidence), estimates + errors * z);
        if (auto_) addTrials(report.table("Models tried"));
    }

    Followed follow(const Vector& series, std::int64_t horizon, bool /*noise*/) const override {
        const std::vector<double> values(series.begin(), series.end());
        const Data& own = model_->data();
        Data data;
        data.load(values).lag(own.numSeasonalLags(), own.period()).lag(own.numLags(), 1);
        if (model_->isConstantIncluded()) data.subtractMean(own.mean());
        data.apply();
        const std::vector<double> fitted =
            data.postprocess(model_->predict(data.processedData()).values);
        const auto steps = static_cast<std::size_t>(horizon);
        const std::vector<double> forecasts = model_->forecast(values, steps);
        const std::unique_ptr<ARMA> copy = copyOf(*model_);
        copy->forecast(steps);
        copy->computeIntegratedForecastsStdDev();
        const std::vector<double>& stdDevs = copy->integratedForecastsStdDev();
        Followed result{{fitted.begin(), fitted.end()},
                        {forecasts.begin(), forecasts.end()},
                        {stdDevs.begin(), stdDevs.end()},
                        {}};
        const std::size_t lost = values.size() - data.numProcessedRecords();
        std::fill_n(result.fitted.begin(), lost, std::numeric_limits<double>::quiet_NaN());
        return result;
    }

    std::vector<LjungBox> testResiduals(const Vector& /*residuals*/) const override {
        return model_->ljungBox();
    }
    std::string testNote() const override { return "Degrees of freedom: the lag less p + q."; }
    std::string forecastNote() const override {
        return "The differences are multiplied into the psi weights of the standard deviations "
               "(computeIntegratedForecastsStdDev).";
    }

  private:
    static Value shown(double criterion) {
        const bool none = criterion == std::numeric_limits<double>::max();
        return none ? std::numeric_limits<double>::quiet_NaN() : criterion;
    }

    Specification chosenSpecification() const {
        Specification result;
        result.orders = parseOrders(kOrder, orderText_);
        if (!seasonalText_.empty()) {
            result.seasonal = parseOrders(kSeasonal, seasonalText_);
            result.period = static_cast<std::uint64_t>(period_);
        }
        return result;
    }

    std::unique_ptr<ARMA> fitted(const Vector& series, const Specification& as) const {
        const auto& [o, s, period] = as;
        std::unique_ptr<ARMA> model;
        if (as.isSeasonal()) {
            auto seasonal = std::make_unique<SARMA>(o.ar, o.ma, o.differences, s.ar, s.ma,
                                                    s.differences, period);
            seasonal->setMultiplicativeMA(textbookMA_);
            model = std::move(seasonal);
        } else {
            model = std::make_unique<ARMA>(o.ar, o.ma, o.differences);
        }
        model->setConstantIncluded(!noConstant_);
        model->loadData(std::vector<double>(series.begin(), series.end())).preprocess().fit();
        return model;
    }

    /// Every model up to the orders, the differences being the same in all; the best one first.
    void tryAll(const Vector& series, const Specification& most) {
        ProgressPhase phase("Trying models", (most.orders.ar + 1) * (most.orders.ma + 1) *
                                                 (most.seasonal.ar + 1) * (most.seasonal.ma + 1));
        Specification next = most;
        for (next.orders.ar = 0; next.orders.ar <= most.orders.ar; ++next.orders.ar) {
            for (next.orders.ma = 0; next.orders.ma <= most.orders.ma; ++next.orders.ma) {
                trySeasons(series, next, most, phase);
            }
        }
        if (trials_.empty()) {
            throw UserError(
                fmt::format("{}: {} values are too few for every model", kAuto, series.size()));
        }
        std::ranges::stable_sort(trials_, {}, &Trial::aicc);
        model_ = copyOf(*trials_.front().model);
        specification_ = trials_.front().specification;
    }

    void trySeasons(const Vector& series, Specification next, const Specification& most,
                    ProgressPhase& phase) {
        for (next.seasonal.ar = 0; next.seasonal.ar <= most.seasonal.ar; ++next.seasonal.ar) {
            for (next.seasonal.ma = 0; next.seasonal.ma <= most.seasonal.ma; ++next.seasonal.ma) {
                try {
                    auto model = fitted(series, next);
                    const double aicc = criterion(*model, next);
                    trials_.push_back({next, std::move(model), aicc});
                } catch (const Engine::TooFewRecords&) {  // no model of these orders
                }
                phase.advance();
            }
        }
    }

    void addTrials(Table& table) const {
        std::vector<std::string> models;
        std::vector<std::string> remarks(trials_.size());
        remarks.front() = "taken";
        Vector likelihoods;
        Vector variances;
        std::vector<Value> aicc;
        for (const Trial& trial : trials_) {
            models.push_back(trial.specification.text());
            likelihoods.push_back(trial.model->lnL());
            variances.push_back(trial.model->whiteNoiseVariance());
            aicc.push_back(shown(trial.aicc));
        }
        table.text("Model", std::move(models))
            .series("-2 log-likelihood", std::move(likelihoods))
            .numbers("White-noise variance", std::move(variances))
            .cells("AICc", std::move(aicc), NumberStyle::Series)
            .text("Remark", std::move(remarks))
            .note("AICc counts all coefficients, seasonal ones too, the mean and the variance.");
    }

    std::string orderText_;
    std::string seasonalText_;
    std::int64_t period_ = 0;
    bool noConstant_ = false;
    bool textbookMA_ = false;
    bool auto_ = false;
    bool seasonal_ = false;
    Specification specification_;
    std::vector<Trial> trials_;
    std::unique_ptr<ARMA> model_;
};

}  // namespace

std::unique_ptr<Family> makeArima() { return std::make_unique<Arima>(); }

}  // namespace Veltrix::Tool
