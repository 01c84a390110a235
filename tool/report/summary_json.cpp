// Writing the summary through cJSON, numbers rounded as in the text summary.
#include "report/summary_json.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "analysis/accuracy.h"
#include "report/number_format.h"

namespace ezossl_tool {
namespace {

void AddNumber(cJSON* object, const char* name, double value, int decimals) {
    cJSON_AddItemToObject(object, name, cJSON_CreateRaw(FormatFixed(value, decimals).c_str()));
}

// The text summary's notes start with "note: "; in JSON the key already says so.
void AddNote(cJSON* notes, const std::string& note) {
    const std::string prefix = "note: ";
    const std::string text = note.compare(0, prefix.size(), prefix) == 0 ? note.substr(prefix.size()) : note;
    cJSON_AddItemToArray(notes, cJSON_CreateString(text.c_str()));
}

double Share(int part, int whole) { return whole == 0 ? 0.0 : double(part) / whole; }

cJSON* AccuracyObject(const Localization& localization, const TruthTrack* truth, const Orientation& orientation) {
    if (!truth) return cJSON_CreateNull();
    const AccuracySummary s = Summarize(localization, *truth, orientation);
    cJSON* accuracy = cJSON_CreateObject();
    cJSON_AddNumberToObject(accuracy, "scored_periods", s.with_direction);
    AddNumber(accuracy, "mean_abs_error_deg", s.mean_abs_error_deg, 1);
    AddNumber(accuracy, "within_10_deg", Share(s.within_close, s.with_direction), 3);
    AddNumber(accuracy, "within_22_5_deg", Share(s.within_candidate, s.with_direction), 3);
    return accuracy;
}

}  // namespace

std::string SummaryJson(const Localization& localization, const TruthTrack* truth, const Orientation& orientation) {
    std::unique_ptr<cJSON, decltype(&cJSON_Delete)> root(cJSON_CreateObject(), cJSON_Delete);
    cJSON* object = root.get();
    int with_direction = 0, held = 0;
    double energy = 0.0;
    for (const PeriodResult& period : localization.periods) {
        with_direction += period.direction.degrees.has_value();
        held += period.trust.held;
        energy += std::pow(10.0, period.trust.level_dbfs / 10.0);
    }
    const size_t periods = localization.periods.size();
    cJSON_AddNumberToObject(object, "periods", static_cast<double>(periods));
    AddNumber(object, "period_s", localization.PeriodSeconds(), 3);
    cJSON_AddNumberToObject(object, "with_direction", with_direction);
    cJSON_AddNumberToObject(object, "held", held);
    cJSON* statuses = cJSON_AddObjectToObject(object, "statuses");
    for (const auto& [name, count] : PeriodsPerStatus(localization)) cJSON_AddNumberToObject(statuses, name.c_str(), count);
    // The mean power over the periods, in dB like each period's level.
    if (periods > 0) {
        AddNumber(object, "mean_level_dbfs", std::max(kSilenceDbfs, 10.0 * std::log10(energy / periods)), 1);
    } else {
        cJSON_AddNullToObject(object, "mean_level_dbfs");
    }
    cJSON_AddItemToObject(object, "accuracy", AccuracyObject(localization, truth, orientation));
    cJSON* notes = cJSON_AddArrayToObject(object, "notes");
    for (const std::string& note : InputNotes(localization)) AddNote(notes, note);
    const std::string renumbering = orientation.RenumberingNote();
    if (!renumbering.empty()) AddNote(notes, renumbering);
    std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_Print(object), cJSON_free);
    return std::string(text.get()) + "\n";
}

}  // namespace ezossl_tool
