// Writes a retail-like case that is wide rather than long, for measuring the report at scale:
// 5 regions x 6 products x 3 channels, 7 metrics (630 series) over 300 days, with price, promotion
// and advertising driving visits, visits driving sales, sales driving returns two days later.
// Run: make_wide_retail FOLDER  (writes wide.csv, wide.dict.json and wide.tcm there; run the
// command from the repository root: tcm run FOLDER/wide.tcm --data FOLDER/wide.csv ...).
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace {
namespace fs = std::filesystem;

constexpr int kDays = 300;
const char* const kRegions[] = {"North", "East", "South", "West", "Central"};
const char* const kProducts[] = {"Snacks", "Beverages", "Household", "Dairy", "Bakery", "Frozen"};
const char* const kChannels[] = {"Store", "Online", "Wholesale"};

struct Day {
  double price, promo, ad, temperature, visits, sales, returns;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: make_wide_retail FOLDER\n";
    return 2;
  }
  const fs::path folder = argv[1];
  std::error_code error;
  fs::create_directories(folder, error);
  std::ofstream csv(folder / "wide.csv");
  if (!csv) {
    std::cerr << "make_wide_retail: cannot write in " << folder << "\n";
    return 1;
  }
  csv << "date,region,product,channel,price,promo,ad_spend,temperature,visits,sales,returns\n";
  std::mt19937_64 rng(2024);
  std::normal_distribution<double> noise(0.0, 1.0);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  // Series by combination, simulated day by day.
  std::vector<std::vector<Day>> series;
  for (int r = 0; r < 5; ++r) {
    for (int p = 0; p < 6; ++p) {
      for (int c = 0; c < 3; ++c) {
        std::vector<Day> days(kDays);
        const double scale = (1 + r) * (1 + 0.3 * p) * (c == 1 ? 0.6 : 1.0);
        for (int t = 0; t < kDays; ++t) {
          Day& d = days[static_cast<std::size_t>(t)];
          const Day* y1 = t > 0 ? &days[static_cast<std::size_t>(t - 1)] : nullptr;
          const Day* y2 = t > 1 ? &days[static_cast<std::size_t>(t - 2)] : nullptr;
          d.price = 5 + p * 2 + 0.5 * std::sin(t / 30.0 + p) + 0.05 * noise(rng);
          d.promo = unit(rng) < 0.06 ? 1 : 0;
          d.ad = 200 + 50 * std::sin(t / 14.0 + r) + 10 * noise(rng);
          d.temperature = 12 + 10 * std::sin((t - 100) / 58.0) + r + noise(rng);
          d.visits = 1000 * scale + (y1 ? 0.4 * (y1->visits - 1000 * scale) : 0) +
                     (y1 ? 0.8 * y1->ad : 160) + 300 * d.promo - 20 * d.price + 30 * noise(rng);
          d.sales = 0.05 * (y1 ? y1->visits : d.visits) + 40 * d.promo + 3 * noise(rng);
          d.returns = std::max(0.0, std::round(0.04 * (y2 ? y2->sales : d.sales) + noise(rng)));
        }
        series.push_back(std::move(days));
      }
    }
  }
  char line[256];
  for (int t = 0; t < kDays; ++t) {
    const int month_days[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int month = 0, day = t;
    while (day >= month_days[month]) day -= month_days[month++];
    std::size_t s = 0;
    for (const char* region : kRegions) {
      for (const char* product : kProducts) {
        for (const char* channel : kChannels) {
          const Day& d = series[s++][static_cast<std::size_t>(t)];
          std::snprintf(line, sizeof line, "2024-%02d-%02d,%s,%s,%s,%.2f,%.0f,%.2f,%.1f,%.0f,%.0f,%.0f\n",
                        month + 1, day + 1, region, product, channel, d.price, d.promo, d.ad,
                        d.temperature, d.visits, d.sales, d.returns);
          csv << line;
        }
      }
    }
  }
  std::ofstream(folder / "wide.dict.json")
      << R"({"variables": [{"name": "date", "type": "numeric", "format": "SDATE10", "measure": "scale"},
  {"name": "region", "type": "string", "measure": "nominal"},
  {"name": "product", "type": "string", "measure": "nominal"},
  {"name": "channel", "type": "string", "measure": "nominal"}]})"
      << "\n";
  std::ofstream(folder / "wide.tcm")
      << "TCM MODEL\n"
         "  /DATASETTINGS DIMENSIONS=region product channel TIMETYPE=DATETIMEVAR TIMEVAR=date\n"
         "     INPUTINTERVAL=DAY GROUP=SUM price(MEAN) temperature(MEAN)\n"
         "  /BUILDOPTIONS FORECASTPERIODS=14 LAGS=3\n"
         "  /TARGETFILTER DISPLAY=BESTFIT(N=10 FITSTAT=RSQUARE)\n"
         "  /SERIESFILTER FIELDS=sales returns DIMVALUES=region(INCLUDE=North)\n"
         "  /FILTEREDOUTPUT INCLUDE=TARGETS NETWORKGRAPH=YES PRINT=MODELFIT OUTLIERS MODELEFFECTS\n"
         "     PARAMETERS FORECASTS PLOT=SERIESPLOT TOPINPUTS IMPACTDIAGRAMS=CAUSES(2) EFFECTS(2)\n"
         "  /FILTEREDOUTPUT INCLUDE=SERIES PRINT=OUTLIERS PLOT=SERIESPLOT NRESIDUAL\n"
         "  /SYSTEMOUTPUT MODELFIT=RSQUARE RMSPE TRANSFORMATIONS=YES OUTLIERPLOT=YES\n"
         "  /FIELDSGROUP\n"
         "  /FIELDS TARGETS=visits sales returns INPUTS=price TO sales.\n";
  return 0;
}
