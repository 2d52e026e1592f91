#include "zulhttp/metricstext.h"

#include <algorithm>
#include <charconv>
#include <numeric>

#include "wmsg/utf8.h"

namespace zulhttp {

namespace {

std::string numberText(double number)
{
    char text[64];
    return {text, std::to_chars(text, std::end(text), number).ptr};
}

std::string escaped(const std::string& value)
{
    std::string text;
    for (const char letter : utf8::repaired(value.c_str())) {
        text += letter == '\n'                    ? "\\n"
                : letter == '"' || letter == '\\' ? std::string("\\") + letter
                                                  : std::string(1, letter);
    }
    return text;
}

} // namespace

void DurationBuckets::add(std::chrono::duration<double> time)
{
    ++mCounts[static_cast<size_t>(std::ranges::lower_bound(kBounds, time.count()) - kBounds.begin())];
    mSum += time.count();
}

uint64_t DurationBuckets::upTo(size_t index) const
{
    return std::accumulate(mCounts.begin(), mCounts.begin() + static_cast<std::ptrdiff_t>(index) + 1,
                           uint64_t{0});
}

MetricsText& MetricsText::begin(const std::string& name, const char* kind, const std::string& help)
{
    mName = name;
    mText += "# HELP " + name + " " + help + "\n# TYPE " + name + " " + kind + "\n";
    return *this;
}

void MetricsText::line(const std::string& name, const Labels& labels, const std::string& value)
{
    mText += name;
    char separator = '{';
    for (const auto& [label, text] : labels) {
        mText += std::exchange(separator, ',') + label + "=\"" + escaped(text) + "\"";
    }
    mText += std::string(labels.empty() ? "" : "}") + " " + value + "\n";
}

MetricsText& MetricsText::value(uint64_t value, const Labels& labels)
{
    line(mName, labels, std::to_string(value));
    return *this;
}

MetricsText& MetricsText::value(const DurationBuckets& buckets, const Labels& labels)
{
    constexpr size_t kCount = DurationBuckets::kBounds.size();
    for (size_t i = 0; i <= kCount; ++i) {
        Labels bounded = labels;
        bounded.emplace_back("le", i == kCount ? "+Inf" : numberText(DurationBuckets::kBounds[i]));
        line(mName + "_bucket", bounded, std::to_string(buckets.upTo(i)));
    }
    line(mName + "_sum", labels, numberText(buckets.sum()));
    line(mName + "_count", labels, std::to_string(buckets.upTo(kCount)));
    return *this;
}

} // namespace zulhttp
