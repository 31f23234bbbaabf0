// Generates the retail example: daily cases by region and product with known lagged causes.
//
// Usage: make_retail_data OUT.csv [--dict OUT.dict.json] [--through YYYY-MM-DD]
//
// The output must be byte-identical on every compiler and C library, because the CSV is committed
// and a test regenerates it. Hence: an own generator (xoshiro256** seeded by splitmix64), own
// normal variates (Box-Muller), own log/cos/sin built from +, -, *, / only (the library versions
// are not correctly rounded and may differ in the last bit), and numbers printed from integers.
// The equations, coefficients and injected events are documented in examples/retail/README.md;
// keep the two in step.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

// ---------------------------------------------------------------------------------------------
// Deterministic arithmetic

constexpr double kPi = 3.14159265358979323846;
constexpr double kLn2 = 0.69314718055994530942;
constexpr double kSqrtHalf = 0.70710678118654752440;

// Natural logarithm for x > 0: x = m * 2^e (exact), ln m = 2 atanh((m - 1) / (m + 1)) by its
// series, with m brought into [sqrt(1/2), sqrt(2)) so that |z| < 0.172 and 20 terms are plenty.
double Log(double x) {
  int e = 0;
  double m = std::frexp(x, &e);
  if (m < kSqrtHalf) {
    m *= 2.0;
    --e;
  }
  const double z = (m - 1.0) / (m + 1.0);
  const double z2 = z * z;
  double term = z;
  double sum = 0.0;
  for (int k = 1; k < 40; k += 2) {
    sum += term / k;
    term *= z2;
  }
  return 2.0 * sum + e * kLn2;
}

// Taylor series of cos and sin for |x| <= pi; 18 terms reach double precision there.
double Cos(double x) {
  const double x2 = x * x;
  double term = 1.0;
  double sum = 1.0;
  for (int k = 1; k <= 18; ++k) {
    term *= -x2 / ((2.0 * k - 1.0) * (2.0 * k));
    sum += term;
  }
  return sum;
}

double Sin(double x) {
  const double x2 = x * x;
  double term = x;
  double sum = x;
  for (int k = 1; k <= 18; ++k) {
    term *= -x2 / ((2.0 * k) * (2.0 * k + 1.0));
    sum += term;
  }
  return sum;
}

// cos(2 pi f) for any f, reduced to an angle in [-pi, pi) first.
double CosTurns(double f) {
  double frac = f - std::floor(f); // [0, 1)
  return Cos(2.0 * kPi * frac - kPi) * -1.0;
}

// Rounds half away from zero; floor is exact, so this is the same everywhere.
std::int64_t RoundToInt(double x) {
  return static_cast<std::int64_t>(x >= 0.0 ? std::floor(x + 0.5) : -std::floor(-x + 0.5));
}

// ---------------------------------------------------------------------------------------------
// Random numbers

std::uint64_t SplitMix64(std::uint64_t& state) {
  std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

// xoshiro256** with Box-Muller normals; one stream per series and component, so that a change to
// one component leaves the draws of all others as they were.
class Rng {
 public:
  explicit Rng(std::uint64_t seed) {
    std::uint64_t state = seed;
    for (auto& word : s_)
      word = SplitMix64(state);
  }

  std::uint64_t Next() {
    const std::uint64_t result = Rotl(s_[1] * 5, 7) * 9;
    const std::uint64_t t = s_[1] << 17;
    s_[2] ^= s_[0];
    s_[3] ^= s_[1];
    s_[1] ^= s_[2];
    s_[0] ^= s_[3];
    s_[2] ^= t;
    s_[3] = Rotl(s_[3], 45);
    return result;
  }

  // Uniform on [0, 1) with 53 random bits.
  double Uniform() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }

  // Uniform integer in [0, n); the modulo bias is below 2^-50 for the small n used here.
  int Below(int n) { return static_cast<int>(Next() % static_cast<std::uint64_t>(n)); }

  // Standard normal by Box-Muller: r = sqrt(-2 ln u1), angle 2 pi u2; the second variate of a
  // pair is kept for the next call.
  double Normal() {
    if (has_spare_) {
      has_spare_ = false;
      return spare_;
    }
    const double u1 = static_cast<double>((Next() >> 11) + 1) * 0x1.0p-53; // (0, 1]
    const double u2 = Uniform();
    const double r = std::sqrt(-2.0 * Log(u1));
    const double angle = 2.0 * kPi * u2 - kPi; // cos(a + pi) = -cos a, sin(a + pi) = -sin a
    spare_ = -r * Sin(angle);
    has_spare_ = true;
    return -r * Cos(angle);
  }

 private:
  static std::uint64_t Rotl(std::uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }
  std::array<std::uint64_t, 4> s_{};
  bool has_spare_ = false;
  double spare_ = 0.0;
};

constexpr std::uint64_t kSeed = 20230101;

enum class Stream : std::uint64_t { Weather = 1, Price, Promo, Ads, Visits, Sales, Returns };

Rng MakeRng(Stream stream, int series_idx) {
  std::uint64_t state = kSeed ^ (static_cast<std::uint64_t>(stream) << 32) ^
                        static_cast<std::uint64_t>(series_idx + 1);
  return Rng(SplitMix64(state));
}

// ---------------------------------------------------------------------------------------------
// Calendar (days since 1970-01-01, proleptic Gregorian; integer arithmetic only)

constexpr std::int64_t DaysFromCivil(std::int64_t y, int m, int d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yoe = y - era * 400;
  const std::int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

std::string CivilText(std::int64_t days) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t doe = days - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  const std::int64_t d = doy - (153 * mp + 2) / 5 + 1;
  const std::int64_t m = mp < 10 ? mp + 3 : mp - 9;
  const std::int64_t y = yoe + era * 400 + (m <= 2);
  char text[64];
  std::snprintf(text, sizeof text, "%04lld-%02lld-%02lld", static_cast<long long>(y),
                static_cast<long long>(m), static_cast<long long>(d));
  return text;
}

// ---------------------------------------------------------------------------------------------
// The model (README.md, "Generating equations")

struct Region {
  const char* name;
  double size;      // m_r: scales the region's market
  double mean_temp; // annual mean temperature, degrees C
  double temp_amp;  // half the summer-winter swing
};

struct Product {
  const char* code;
  double list_price;  // L_p
  double visit_scale; // v_p
  double ad_base;     // A_p
  double conversion;  // c_p: units sold per visit of the day before
  double price_coef;  // b_p: units lost per currency unit of price, per unit of region size
  double promo_coef;  // g_p: units gained on the day after a promotion day, per unit of size
  double intercept;   // a_p
  double sales_sd;    // s_p
  double return_rate; // q_p: share of the units sold two days before that come back
};

constexpr std::array<Region, 4> kRegions = {{
    {"North", 1.0, 9.0, 10.0},
    {"South", 1.2, 19.0, 7.0},
    {"East", 0.9, 12.0, 11.0},
    {"West", 1.1, 15.0, 6.0},
}};

constexpr std::array<Product, 3> kProducts = {{
    {"A", 4.99, 1.0, 400.0, 0.05, 20.0, 30.0, 95.0, 8.0, 0.04},
    {"B", 12.49, 0.8, 300.0, 0.04, 6.0, 20.0, 55.0, 6.0, 0.06},
    {"C", 24.99, 0.5, 200.0, 0.03, 1.6, 8.0, 25.0, 3.0, 0.10},
}};

// Weather: w_t = 0.7 w_{t-1} + N(0, 2^2); seasonal peak on day 200 (2023-07-20).
constexpr double kWeatherAr = 0.7;
constexpr double kWeatherSd = 2.0;
constexpr double kPeakDay = 200.0;
constexpr double kYear = 365.25;

// Advertising: ad_t = A_p m_r D(weekday) (1 + u_t), u_t = 0.6 u_{t-1} + N(0, 0.15^2). The
// weekly budget plan D (Monday first, mean 1) is the one source of the weekly rhythm: visits,
// sales and returns inherit it through their inputs. A weekday effect of their own would be
// shared by all series, and lagged models would then take one series' visits as a predictor of
// another's.
constexpr double kAdAr = 0.6;
constexpr double kAdSd = 0.15;
constexpr std::array<double, 7> kAdWeekday = {0.80, 0.80, 0.90, 1.10, 1.30, 1.20, 0.90};

// Visits, with k = m_r v_p.
constexpr double kVisitsIntercept = 300.0; // times k
constexpr double kVisitsAr = 0.45;
constexpr double kVisitsAd1 = 1.2;
constexpr double kVisitsAd2 = 0.6;
constexpr double kVisitsTemp = 15.0; // times k
constexpr double kVisitsSd = 60.0;   // times k

constexpr double kSalesAr = 0.3;
constexpr double kReturnsIntercept = 0.5;
constexpr double kReturnsSd = 0.8;

// Price levels (share of list price) and how long a level holds; promotions.
constexpr std::array<double, 7> kPriceLevels = {0.85, 0.90, 0.95, 1.00, 1.00, 1.05, 1.10};
constexpr int kPriceMinDays = 14;
constexpr int kPriceExtraDays = 36;
constexpr double kPromoStart = 0.05;
constexpr int kPromoMinDays = 3;
constexpr int kPromoExtraDays = 6;
constexpr int kPromoGap = 7;

constexpr std::int64_t kFirstDay = DaysFromCivil(2023, 1, 1);
constexpr std::int64_t kLastDay = DaysFromCivil(2024, 12, 31);
constexpr int kBurnIn = 56; // days simulated before the first recorded one, to settle the lags

// ---------------------------------------------------------------------------------------------
// Injected events and missing cells (README.md, "Injected outliers" and "Missing cells")

enum class Field { Price, Promo, AdSpend, Temperature, Visits, Sales, Returns };

struct Event {
  const char* date;
  const char* region;
  const char* product; // nullptr: every product of the region
  Field field;
  double add;      // added to the innovation
  double keep = 1; // share of the day's value kept (an outage); 1 for a plain shock
};

const std::vector<Event>& Events() {
  static const std::vector<Event> events = {
      // A cold snap: the weather innovation of North.
      {"2023-12-05", "North", nullptr, Field::Temperature, -14.0},
      // The snow storm that came with it kept shoppers home: -360 k visits beyond the cold.
      {"2023-12-06", "North", "A", Field::Visits, -360.0 * 1.0 * 1.0},
      {"2023-12-06", "North", "B", Field::Visits, -360.0 * 1.0 * 0.8},
      {"2023-12-06", "North", "C", Field::Visits, -360.0 * 1.0 * 0.5},
      // An advertising burst (u jumps by 4: five times the usual spend, tapering by 0.6 a day)
      // whose campaign also drew 350 visits beyond the usual response the next day.
      {"2024-03-12", "East", "B", Field::AdSpend, 4.0},
      {"2024-03-13", "East", "B", Field::Visits, 350.0},
      // A faulty batch returned.
      {"2023-09-14", "South", "A", Field::Returns, 40.0},
      // A stock-out: 5% of the day's sales.
      {"2024-06-03", "West", "C", Field::Sales, 0.0, 0.05},
      // A web site outage: 25% of the day's visits.
      {"2024-10-08", "North", "A", Field::Visits, 0.0, 0.25},
  };
  return events;
}

struct MissingCell {
  const char* date;
  const char* region;
  const char* product; // nullptr: every product of the region
  Field field;
};

const std::vector<MissingCell>& MissingCells() {
  static const std::vector<MissingCell> cells = {
      {"2023-04-10", "North", "A", Field::Visits},
      {"2023-04-11", "North", "A", Field::Visits},
      {"2023-08-02", "West", nullptr, Field::Temperature},
      {"2023-11-23", "West", "A", Field::Price},
      {"2024-01-15", "East", "C", Field::Sales},
      {"2024-05-20", "South", "B", Field::AdSpend},
      {"2024-08-30", "North", "B", Field::Returns},
  };
  return cells;
}

bool Matches(const char* date, const char* region, const char* product, const std::string& day,
             const Region& r, const Product& p) {
  return day == date && std::string_view(region) == r.name &&
         (product == nullptr || std::string_view(product) == p.code);
}

// The event on a cell, if any: innovation shock and kept share.
void ApplyEvent(Field field, const std::string& day, const Region& r, const Product& p, double& add,
                double& keep) {
  add = 0.0;
  keep = 1.0;
  for (const Event& event : Events()) {
    if (event.field == field && Matches(event.date, event.region, event.product, day, r, p)) {
      add += event.add;
      keep *= event.keep;
    }
  }
}

bool IsMissing(Field field, const std::string& day, const Region& r, const Product& p) {
  for (const MissingCell& cell : MissingCells()) {
    if (cell.field == field && Matches(cell.date, cell.region, cell.product, day, r, p))
      return true;
  }
  return false;
}

// ---------------------------------------------------------------------------------------------
// Simulation

// One series (region x product) over all simulated days. Values are kept rounded as recorded,
// so that the lagged terms of the equations are exactly the values in the file.
struct SeriesData {
  std::vector<std::int64_t> price_cents, promo, ad_cents, visits, sales, returns;
};

std::vector<std::vector<std::int64_t>> SimulateTemperatures(int days) {
  std::vector<std::vector<std::int64_t>> tenths(kRegions.size());
  for (std::size_t r = 0; r < kRegions.size(); ++r) {
    const Region& region = kRegions[r];
    Rng rng = MakeRng(Stream::Weather, static_cast<int>(r));
    double w = 0.0;
    tenths[r].resize(days);
    // A region's temperature is the same on its three products, so an event is looked up
    // against the first product only.
    for (int i = 0; i < days; ++i) {
      const std::int64_t day_idx = i - kBurnIn;
      const std::string day = CivilText(kFirstDay + day_idx);
      double add = 0.0, keep = 1.0;
      ApplyEvent(Field::Temperature, day, region, kProducts[0], add, keep);
      w = kWeatherAr * w + kWeatherSd * rng.Normal() + add;
      const double season =
          region.temp_amp * CosTurns((static_cast<double>(day_idx) - kPeakDay) / kYear);
      tenths[r][i] = RoundToInt((region.mean_temp + season + w) * 10.0);
    }
  }
  return tenths;
}

SeriesData SimulateSeries(int series_idx, const Region& region, const Product& product,
                          const std::vector<std::int64_t>& temp_tenths, int days) {
  Rng price_rng = MakeRng(Stream::Price, series_idx);
  Rng promo_rng = MakeRng(Stream::Promo, series_idx);
  Rng ad_rng = MakeRng(Stream::Ads, series_idx);
  Rng visits_rng = MakeRng(Stream::Visits, series_idx);
  Rng sales_rng = MakeRng(Stream::Sales, series_idx);
  Rng returns_rng = MakeRng(Stream::Returns, series_idx);

  const double m = region.size;
  const double k = region.size * product.visit_scale;
  const double ad_level = product.ad_base * m;

  SeriesData s;
  for (auto* v : {&s.price_cents, &s.promo, &s.ad_cents, &s.visits, &s.sales, &s.returns})
    v->assign(days, 0);

  double price_level = 1.0;
  int price_days_left = kPriceMinDays + price_rng.Below(kPriceExtraDays);
  int promo_days_left = 0;
  int promo_gap_left = 0;
  double u = 0.0;
  // Start the lags near their long-run means; the burn-in removes the rest.
  const double start_visits = 2000.0 * k;
  const double start_sales = 100.0 * m * product.visit_scale;

  for (int i = 0; i < days; ++i) {
    const std::int64_t day_idx = i - kBurnIn;
    const std::int64_t epoch_day = kFirstDay + day_idx;
    const std::string day = CivilText(epoch_day);
    const int weekday = static_cast<int>(((epoch_day % 7) + 7 + 3) % 7); // 1970-01-01: Thursday
    auto lag = [&](const std::vector<std::int64_t>& v, int l, double start) {
      return i - l >= 0 ? static_cast<double>(v[i - l]) : start;
    };
    double add = 0.0, keep = 1.0;

    // Price: a level among kPriceLevels held for 2 to 7 weeks.
    if (--price_days_left < 0) {
      price_level = kPriceLevels[price_rng.Below(static_cast<int>(kPriceLevels.size()))];
      price_days_left = kPriceMinDays + price_rng.Below(kPriceExtraDays) - 1;
    }
    s.price_cents[i] = RoundToInt(product.list_price * price_level * 100.0);

    // Promotion: starts with probability 0.05 a day, runs 3 to 8 days, then a week's pause.
    if (promo_days_left > 0) {
      --promo_days_left;
      s.promo[i] = 1;
      if (promo_days_left == 0)
        promo_gap_left = kPromoGap;
    } else if (promo_gap_left > 0) {
      --promo_gap_left;
    } else if (promo_rng.Uniform() < kPromoStart) {
      promo_days_left = kPromoMinDays + promo_rng.Below(kPromoExtraDays) - 1;
      s.promo[i] = 1;
      if (promo_days_left == 0)
        promo_gap_left = kPromoGap;
    }

    // Advertising.
    ApplyEvent(Field::AdSpend, day, region, product, add, keep);
    u = kAdAr * u + kAdSd * ad_rng.Normal() + add;
    const double ad = ad_level * kAdWeekday[weekday] * (1.0 + u);
    s.ad_cents[i] = RoundToInt(std::max(ad, 0.1 * ad_level) * 100.0);

    // Visits.
    const double ad1 = lag(s.ad_cents, 1, ad_level * 100.0) / 100.0;
    const double ad2 = lag(s.ad_cents, 2, ad_level * 100.0) / 100.0;
    const double temp1 =
        (i >= 1 ? static_cast<double>(temp_tenths[i - 1]) : region.mean_temp * 10.0) / 10.0;
    ApplyEvent(Field::Visits, day, region, product, add, keep);
    double visits = kVisitsIntercept * k + kVisitsAr * lag(s.visits, 1, start_visits) +
                    kVisitsAd1 * ad1 + kVisitsAd2 * ad2 + kVisitsTemp * k * temp1 +
                    kVisitsSd * k * visits_rng.Normal() + add;
    visits *= keep;
    s.visits[i] = std::max<std::int64_t>(RoundToInt(visits), 0);

    // Sales.
    const double price1 = lag(s.price_cents, 1, product.list_price * 100.0) / 100.0;
    const double promo1 = lag(s.promo, 1, 0.0);
    ApplyEvent(Field::Sales, day, region, product, add, keep);
    double sales =
        m * (product.intercept - product.price_coef * price1 + product.promo_coef * promo1) +
        kSalesAr * lag(s.sales, 1, start_sales) +
        product.conversion * lag(s.visits, 1, start_visits) +
        product.sales_sd * m * sales_rng.Normal() + add;
    sales *= keep;
    s.sales[i] = std::max<std::int64_t>(RoundToInt(sales), 0);

    // Returns.
    ApplyEvent(Field::Returns, day, region, product, add, keep);
    double returns = kReturnsIntercept + product.return_rate * lag(s.sales, 2, start_sales) +
                     kReturnsSd * returns_rng.Normal() + add;
    returns *= keep;
    s.returns[i] = std::max<std::int64_t>(RoundToInt(returns), 0);
  }
  return s;
}

// "123.45" from 12345 and 2 decimals; integers keep the sign right for -0.5 and the like.
std::string FixedText(std::int64_t scaled, int decimals) {
  std::int64_t unit = 1;
  for (int d = 0; d < decimals; ++d)
    unit *= 10;
  const std::int64_t magnitude = scaled < 0 ? -scaled : scaled;
  std::string text;
  if (scaled < 0)
    text += '-';
  text += std::to_string(magnitude / unit);
  if (decimals > 0) {
    std::string frac = std::to_string(magnitude % unit);
    text += '.' + std::string(static_cast<std::size_t>(decimals) - frac.size(), '0') + frac;
  }
  return text;
}

// Days after kLastDay continue the same simulation, so a longer file starts with the shorter one.
std::string MakeCsv(std::int64_t last_day) {
  const int recorded = static_cast<int>(last_day - kFirstDay + 1);
  const int days = kBurnIn + recorded;
  const auto temperatures = SimulateTemperatures(days);
  std::vector<SeriesData> series;
  for (std::size_t r = 0; r < kRegions.size(); ++r) {
    for (std::size_t p = 0; p < kProducts.size(); ++p) {
      const int series_idx = static_cast<int>(r * kProducts.size() + p);
      series.push_back(
          SimulateSeries(series_idx, kRegions[r], kProducts[p], temperatures[r], days));
    }
  }

  std::string csv = "date,region,product,price,promo,ad_spend,temperature,visits,sales,returns\n";
  csv.reserve(static_cast<std::size_t>(recorded) * kRegions.size() * kProducts.size() * 56);
  for (int i = kBurnIn; i < days; ++i) {
    const std::string day = CivilText(kFirstDay + (i - kBurnIn));
    for (std::size_t r = 0; r < kRegions.size(); ++r) {
      for (std::size_t p = 0; p < kProducts.size(); ++p) {
        const Region& region = kRegions[r];
        const Product& product = kProducts[p];
        const SeriesData& s = series[r * kProducts.size() + p];
        auto cell = [&](Field field, const std::string& text) {
          return IsMissing(field, day, region, product) ? std::string() : text;
        };
        csv += day;
        csv += ',';
        csv += region.name;
        csv += ',';
        csv += product.code;
        csv += ',' + cell(Field::Price, FixedText(s.price_cents[i], 2));
        csv += ',' + cell(Field::Promo, FixedText(s.promo[i], 0));
        csv += ',' + cell(Field::AdSpend, FixedText(s.ad_cents[i], 2));
        csv += ',' + cell(Field::Temperature, FixedText(temperatures[r][i], 1));
        csv += ',' + cell(Field::Visits, FixedText(s.visits[i], 0));
        csv += ',' + cell(Field::Sales, FixedText(s.sales[i], 0));
        csv += ',' + cell(Field::Returns, FixedText(s.returns[i], 0));
        csv += '\n';
      }
    }
  }
  return csv;
}

const char* const kDictionary = R"json({
  "variables": [
    {"name": "date", "type": "numeric", "format": "DATE11", "measure": "scale", "label": "Calendar day"},
    {"name": "region", "type": "string", "width": 8, "measure": "nominal", "label": "Sales region"},
    {"name": "product", "type": "string", "width": 1, "measure": "nominal", "label": "Product line", "valueLabels": {"A": "Snacks", "B": "Beverages", "C": "Household"}},
    {"name": "price", "type": "numeric", "format": "F8.2", "measure": "scale", "label": "Shelf price (currency units)"},
    {"name": "promo", "type": "numeric", "format": "F1.0", "measure": "nominal", "label": "Promotion running", "valueLabels": {"0": "No", "1": "Yes"}, "missing": [9]},
    {"name": "ad_spend", "type": "numeric", "format": "F10.2", "measure": "scale", "label": "Advertising spend (currency units)"},
    {"name": "temperature", "type": "numeric", "format": "F5.1", "measure": "scale", "label": "Mean temperature of the region (degrees C)"},
    {"name": "visits", "type": "numeric", "format": "F8.0", "measure": "scale", "label": "Store and web visits"},
    {"name": "sales", "type": "numeric", "format": "F8.0", "measure": "scale", "label": "Units sold"},
    {"name": "returns", "type": "numeric", "format": "F6.0", "measure": "scale", "label": "Units returned"}
  ]
}
)json";

// Writes beside the target and renames over it, so that a failed write leaves an existing file
// as it was. The folder is created when missing (make demo writes into a fresh build folder).
bool WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::error_code ec;
  if (path.has_parent_path()) {
    std::filesystem::create_directories(path.parent_path(), ec);
    if (ec) {
      std::cerr << "make_retail_data: cannot create the folder '" << path.parent_path().string()
                << "': " << ec.message() << "\n";
      return false;
    }
  }
  std::filesystem::path temp = path;
  temp += ".part";
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    if (out)
      out.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (out)
      out.close();
    if (!out) {
      std::cerr << "make_retail_data: cannot write '" << path.string() << "'\n";
      std::filesystem::remove(temp, ec);
      return false;
    }
  }
  std::filesystem::rename(temp, path, ec);
  if (ec) {
    std::cerr << "make_retail_data: cannot write '" << path.string() << "': " << ec.message()
              << "\n";
    std::filesystem::remove(temp, ec);
    return false;
  }
  return true;
}

constexpr const char* kUsage =
    "usage: make_retail_data OUT.csv [--dict OUT.dict.json] [--through YYYY-MM-DD]\n";

// A day on or after the last default day, as days since 1970-01-01; -1 when the text is no such day.
std::int64_t ParseLastDay(const std::string& text) {
  int y = 0, m = 0, d = 0;
  char extra = 0;
  if (std::sscanf(text.c_str(), "%4d-%2d-%2d%c", &y, &m, &d, &extra) != 3 || m < 1 || m > 12 ||
      d < 1 || d > 31 || y > 2100)
    return -1;
  const std::int64_t day = DaysFromCivil(y, m, d);
  if (CivilText(day) != text || day < kLastDay) return -1;
  return day;
}

} // namespace

int main(int argc, char** argv) {
  std::string csv_path;
  std::string dict_path;
  std::int64_t last_day = kLastDay;
  for (int a = 1; a < argc; ++a) {
    const std::string arg = argv[a];
    if (arg == "--help" || arg == "-h") {
      std::cout << kUsage;
      return 0;
    }
    if (arg == "--dict") {
      if (a + 1 >= argc || !dict_path.empty()) {
        std::cerr << "make_retail_data: --dict needs one file name\n" << kUsage;
        return 2;
      }
      dict_path = argv[++a];
    } else if (arg == "--through") {
      last_day = a + 1 < argc ? ParseLastDay(argv[++a]) : -1;
      if (last_day < 0) {
        std::cerr << "make_retail_data: --through needs a day from " << CivilText(kLastDay)
                  << " on, written YYYY-MM-DD\n" << kUsage;
        return 2;
      }
    } else if (arg.size() > 1 && arg[0] == '-') {
      std::cerr << "make_retail_data: unknown option '" << arg << "'\n" << kUsage;
      return 2;
    } else if (csv_path.empty()) {
      csv_path = arg;
    } else {
      std::cerr << "make_retail_data: more than one output file given\n" << kUsage;
      return 2;
    }
  }
  if (csv_path.empty()) {
    std::cerr << kUsage;
    return 2;
  }
  if (!WriteFile(csv_path, MakeCsv(last_day)))
    return 1;
  if (!dict_path.empty() && !WriteFile(dict_path, kDictionary))
    return 1;
  return 0;
}
