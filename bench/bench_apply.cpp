// Building a model system against applying it, as a user runs both: the tcm program on a case file
// of N series (stores x metrics) over T days, TCM MODEL saving the system, then TCM APPLY scoring
// it (fits and forecasts, saved), then TCM APPLY re-estimating it. Wall-clock seconds, the median
// of the repeats.
// Run: bench_apply [stores metrics days repeats] (100 10 1000 3 by default). Figures:
// bench/README.md.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace {
namespace fs = std::filesystem;

// Each metric follows its own yesterday and the metric before it two days back, in every store.
void WriteData(const fs::path& path, int stores, int metrics, int days) {
  std::ofstream out(path);
  out << "day,store";
  for (int m = 0; m < metrics; ++m) out << ",m" << m;
  out << "\n";
  std::mt19937_64 rng(42);
  std::normal_distribution<double> noise(0.0, 1.0);
  std::vector<std::vector<std::vector<double>>> v(
      stores, std::vector<std::vector<double>>(metrics, std::vector<double>(days, 0.0)));
  for (int s = 0; s < stores; ++s) {
    for (int t = 0; t < days; ++t) {
      for (int m = 0; m < metrics; ++m) {
        const double own = t > 0 ? v[s][m][t - 1] - 100 : 0;
        const double other = t > 1 && m > 0 ? v[s][m - 1][t - 2] - 100 : 0;
        v[s][m][t] = 100 + 0.5 * own + 0.3 * other + noise(rng);
      }
    }
  }
  char cell[32];
  const std::chrono::sys_days first{std::chrono::year{2020} / 1 / 1};
  for (int t = 0; t < days; ++t) {
    const std::chrono::year_month_day day{first + std::chrono::days{t}};
    char stamp[16];
    std::snprintf(stamp, sizeof stamp, "%04d-%02u-%02u", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
    for (int s = 0; s < stores; ++s) {
      out << stamp << ",s" << s + 1;
      for (int m = 0; m < metrics; ++m) {
        std::snprintf(cell, sizeof cell, ",%.3f", v[s][m][t]);
        out << cell;
      }
      out << "\n";
    }
  }
}

double Seconds(const std::string& command) {
  const auto start = std::chrono::steady_clock::now();
  const int status = std::system(command.c_str());
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (status != 0) {
    std::cerr << "bench_apply: the command failed: " << command << "\n";
    std::exit(1);
  }
  return seconds;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const int stores = argc > 1 ? std::atoi(argv[1]) : 100;
  const int metrics = argc > 2 ? std::atoi(argv[2]) : 10;
  const int days = argc > 3 ? std::atoi(argv[3]) : 1000;
  const int repeats = argc > 4 ? std::atoi(argv[4]) : 3;
  if (stores < 1 || metrics < 2 || days < 30 || repeats < 1) {
    std::cerr << "usage: bench_apply [stores metrics days repeats]\n";
    return 2;
  }
  const fs::path dir = fs::temp_directory_path() / "tcm_bench_apply";
  fs::create_directories(dir);
  WriteData(dir / "data.csv", stores, metrics, days);
  std::string fields;
  for (int m = 0; m < metrics; ++m) fields += " m" + std::to_string(m);
  const std::string model = (dir / "model.zip").string();
  std::ofstream(dir / "model.tcm")
      << "TCM MODEL /DATASETTINGS TIMETYPE=ISO8601 TIMEVAR=day INPUTINTERVAL=DAY DIMENSIONS=store\n"
         " /BUILDOPTIONS FORECASTPERIODS=10 MAXINPUTS=DEFAULT LAGS=5\n"
         " /TARGETFILTER DISPLAY=ALLTARGETS /OUTFILE MODELSYSTEM='" + model + "'\n"
         " /FIELDSGROUP /FIELDS TARGETS=" + fields + " INPUTS=" + fields + ".\n";
  const std::string apply = "TCM APPLY /MODELSYSTEM FILE='" + model + "'\n /OPTIONS ";
  const std::string save = " /TARGETFILTER DISPLAY=ALLTARGETS /SAVE PREDICTED(P) CL(LCLROOT=L UCLROOT=U)\n"
                           " /OUTFILE DATA='" + (dir / "scored.csv").string() + "'";
  std::ofstream(dir / "apply.tcm") << apply << "FORECASTPERIODS=10\n" << save << ".\n";
  std::ofstream(dir / "reestimate.tcm")
      << apply << "REESTIMATE=YES FORECASTPERIODS=10\n" << save << " MODELSYSTEM='"
      << (dir / "new.zip").string() << "'.\n";

  const std::string run = std::string(TCM_PROGRAM) + " run ";
  const std::string data = " --data " + (dir / "data.csv").string() + " --out " +
                           (dir / "report.html").string() + " >/dev/null 2>&1";
  std::vector<double> build, score, reestimate;
  for (int r = 0; r < repeats; ++r) {
    build.push_back(Seconds(run + (dir / "model.tcm").string() + data));
    score.push_back(Seconds(run + (dir / "apply.tcm").string() + data));
    reestimate.push_back(Seconds(run + (dir / "reestimate.tcm").string() + data));
  }
  std::printf("N=%d series (%d stores x %d metrics), T=%d, median of %d\n", stores * metrics,
              stores, metrics, days, repeats);
  std::printf("| TCM MODEL s | TCM APPLY s | APPLY / MODEL | APPLY REESTIMATE s | REESTIMATE / MODEL |\n");
  std::printf("| %.2f | %.2f | %.2f | %.2f | %.2f |\n", Median(build), Median(score),
              Median(score) / Median(build), Median(reestimate),
              Median(reestimate) / Median(build));
  fs::remove_all(dir);
  return 0;
}
