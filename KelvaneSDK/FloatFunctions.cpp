#include <array>
#include <cmath>
#include <deque>
#include <limits>

#include "KelvaneSDK/ElementArithmetic.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/SampleWindow.h"
#include "KelvaneSDK/TrapezoidRule.h"

namespace KelvaneSDK {

namespace {

constexpr double noPreviousValue = std::numeric_limits<double>::quiet_NaN();

// Correctly rounded for up to 22 digits of either sign, which not every platform's pow() gives: those powers
// are exact doubles, and one division rounds once.
double powerOfTen(std::int64_t digits) {
    static constexpr std::array<double, 23> exact{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                  1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    if (digits >= 0 && digits <= 22) return exact[static_cast<std::size_t>(digits)];
    if (digits < 0 && digits >= -22) return 1 / exact[static_cast<std::size_t>(-digits)];
    return std::pow(10.0, static_cast<double>(digits));
}

class AbsoluteFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Absolute"; }
    void process() override { finish(std::fabs(real(0))); }
};

class FloatInterpolationFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatValue, FloatValue>("time", "a", "b"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Float interpolation"; }
    void process() override {
        const double t = real(0);
        const Sample a{timestamp(1), real(1)};
        const Sample b{timestamp(2), real(2)};
        if (a.t == b.t || b.t <= t) return finish(b.f);
        if (t <= a.t) return finish(a.f);
        finish(valueOnLine(a, b, t));
    }
};

class RoundFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, IntegerValue>("x", "digits"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Round"; }
    void process() override {
        const double power = powerOfTen(integer(1));
        finish(std::round(real(0) * power) / power);
    }
};

class PowerFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatValue>("base", "exponent"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Power"; }
    void process() override { finish(std::pow(real(0), real(1))); }
};

class IntegerFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<IntegerValue>(); }
    void setTypeString() override { typeString = "Integer"; }
    void process() override {
        const auto truncated = truncatedInteger(real(0));
        if (!truncated) stop(doubleText(real(0)) + " does not fit in a 64-bit integer");
        finish(*truncated);
    }
};

class FloatFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<IntegerValue>("n"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Float"; }
    void process() override { finish(static_cast<double>(integer(0))); }
};

class AveragerFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<BooleanValue, FloatValue>("enable", "x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Averager"; }
    void process() override {
        if (!boolean(0)) {
            clear();
            return endWithoutOutput();
        }
        count = checkedAdd(count, 1);
        sum += real(1);
        finish(sum / static_cast<double>(count));
    }
    void reset() override {
        clear();
        FunctionNode::reset();
    }

private:
    void clear() {
        sum = 0;
        count = 0;
    }

    double sum = 0;
    std::int64_t count = 0;
};

class MovingAveragerFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<IntegerValue, FloatValue>("length", "x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Moving averager"; }
    void process() override {
        const std::int64_t length = integer(0);
        if (length < 1) return endWithoutOutput();
        buffer.push_back(real(1));
        checkElements(buffer.size());
        sum += real(1);
        const auto wanted = static_cast<std::uint64_t>(length);
        if (buffer.size() < wanted) return endWithoutOutput();
        while (buffer.size() > wanted) {
            sum -= buffer.front();
            buffer.pop_front();
        }
        finish(sum / static_cast<double>(length));
    }
    void reset() override {
        buffer.clear();
        sum = 0;
        FunctionNode::reset();
    }

private:
    std::deque<double> buffer;
    // Kept step by step, never summed up anew: the cost of an update does not grow with the length.
    double sum = 0;
};

class DelayFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatValue>("delay", "x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Delay"; }
    void process() override {
        const auto delayed = buffer.advance({timestamp(1), real(1)}, real(0), *this);
        // The delay keeps its flag, so that the next x alone is enough.
        if (!delayed) return consume(1);
        finish(delayed->f);
    }
    void reset() override {
        buffer.clear();
        FunctionNode::reset();
    }

private:
    SampleWindow buffer;
};

class DerivativeFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Derivative"; }
    void process() override {
        const double x = real(0);
        const double t = timestamp(0);
        const bool isFirst = std::isnan(previousValue);
        const double slope = (x - previousValue) / (t - previousTimestamp);
        previousValue = x;
        previousTimestamp = t;
        if (isFirst) return endWithoutOutput();
        finish(slope);
    }
    void reset() override {
        previousValue = noPreviousValue;
        previousTimestamp = 0;
        FunctionNode::reset();
    }

private:
    double previousValue = noPreviousValue;
    double previousTimestamp = 0;
};

class IntegralFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Integral"; }
    void process() override {
        const double x = real(0);
        const double t = timestamp(0);
        const bool isFirst = std::isnan(previousValue);
        const double area = areaBetween({previousTimestamp, previousValue}, {t, x});
        previousValue = x;
        previousTimestamp = t;
        if (isFirst) return endWithoutOutput();
        integral += area;
        finish(integral);
    }
    void reset() override {
        previousValue = noPreviousValue;
        previousTimestamp = 0;
        integral = 0;
        FunctionNode::reset();
    }

private:
    double previousValue = noPreviousValue;
    double previousTimestamp = 0;
    double integral = 0;
};

class PeakDetectorFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatValue>("level", "x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Peak detector"; }
    void process() override {
        const double level = real(0);
        const double x = real(1);
        if (peak < level) peak = 0;
        if (x < level || x < peak) return endWithoutOutput();
        peak = x;
        finish(peak);
    }
    void reset() override {
        peak = 0;
        FunctionNode::reset();
    }

private:
    double peak = 0;
};

class ModuloFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatValue>("x", "y"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Modulo"; }
    void process() override {
        if (real(1) == 0) return endWithoutOutput();
        finish(std::fmod(real(0), real(1)));
    }
};

class LimiterFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatValue>("x", "limit"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Limiter"; }
    void process() override { finish(real(0) < real(1) ? real(0) : real(1)); }
};

}  // namespace

NodeFamily floatFunctions() {
    return functionFamily(
        "Float signal",
        {
            entry<AbsoluteFunction>("the absolute value of x"),
            entry<FloatInterpolationFunction>("the value at `time`, in seconds, on the line from a to b, "
                                              "which stand at their own timestamps"),
            entry<RoundFunction>("x rounded to a number of decimal places, halves away from zero; negative "
                                 "digits round to tens, hundreds and so on"),
            entry<PowerFunction>("the base raised to the exponent"),
            entry<IntegerFunction>("x without its fraction, as an integer"),
            entry<FloatFunction>("the integer n as a float"),
            entry<AveragerFunction>("the mean of all x since enable became true; silent while it is false"),
            entry<MovingAveragerFunction>(
                "the mean of the last `length` values of x; silent until there are as many"),
            entry<DelayFunction>("x as it was `delay` seconds ago, interpolated between samples"),
            entry<DerivativeFunction>("the change of x per second since its previous value"),
            entry<IntegralFunction>("the integral of x over time in seconds since the last reset; between "
                                    "values of different sign the rule "
                                    "counts the time of the crossing from 0"),
            entry<PeakDetectorFunction>(
                "each new highest x that reaches the level; starts anew when the level rises above the peak"),
            entry<ModuloFunction>("the remainder of x / y, with the sign of x; silent when y is 0"),
            entry<LimiterFunction>("x, but never more than the limit"),
        });
}

}  // namespace KelvaneSDK
