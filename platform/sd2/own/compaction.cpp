#include "platform/sd2/own/compaction.h"

#include <algorithm>
#include <cstdint>

namespace sd2::own {
namespace {

// Codewords from here on switch modes.
constexpr int kFirstControl = 900;
enum Control {
    kText = 900,
    kBytes = 901,
    kNumbers = 902,
    kByteShift = 913,
    kReaderSetUp = 921,
    kMacroEnd = 922,
    kMacroField = 923,
    kWholeBytes = 924, // a multiple of six
    kUserSet = 925,    // character sets, with one, two and one codewords of their own
    kGeneralSet = 926,
    kCharacterSet = 927,
    kMacro = 928
};

bool IsSet(int word) { return word >= kUserSet && word <= kCharacterSet; }
int WordsOfSet(int word) { return word == kGeneralSet ? 3 : 2; }

class Reader {
public:
    Reader(const std::vector<int> &words, std::string &out) : words_(words), out_(out) {
        // The number of codewords comes from outside: it is bound here.
        end_ = words.empty() ? 0 : std::min(words.size(), static_cast<size_t>(std::max(words[0], 0)));
    }

    bool Read() {
        next_ = 1;
        ReadText(); // the mode that a symbol begins in
        while (sound_ && next_ < end_) {
            const int word = Word();
            ++next_;
            switch (word) {
            case kText:
                subMode_ = kUpper;
                ReadText();
                break;
            case kBytes:
            case kWholeBytes:
                ReadBytes(word == kWholeBytes);
                break;
            case kNumbers:
                ReadNumbers();
                break;
            case kReaderSetUp:
                if (next_ != 2) // only ever the first
                    return false;
                ReadText();
                break;
            case kMacro:
                return true; // what follows describes a file of several symbols
            default:
                return false;
            }
        }
        return sound_;
    }

private:
    enum SubMode { kUpper, kLower, kMixed, kPunctuation };

    int Word() const { return words_[next_]; }
    bool AtData() const { return next_ < end_ && Word() < kFirstControl; }

    void ShiftedByte() {
        if (next_ < end_)
            out_ += static_cast<char>(Word());
        ++next_;
    }

    /// Two values a codeword. Shifts hold for one value; a byte or a character set between leaves them be.
    void ReadText() {
        while (next_ < end_) {
            const int word = Word();
            if (word < kFirstControl) {
                TextValue(word / 30);
                TextValue(word % 30);
                ++next_;
            } else if (word == kText) {
                subMode_ = kUpper;
                shifted_ = false;
                ++next_;
            } else if (word == kByteShift) {
                shifted_ = false;
                ++next_;
                ShiftedByte();
            } else if (IsSet(word)) {
                next_ += static_cast<size_t>(WordsOfSet(word));
            } else {
                break;
            }
        }
        shifted_ = false;
    }

    void TextValue(int value) {
        static constexpr char kMixedSet[] = "0123456789&\r\t,:#-.$/+%*=^";
        static constexpr char kPunctuationSet[] = ";<>@[\\]_`~!\r\t,:\n-.$/\"|*()?{}'";
        constexpr int kBlank = 26;
        constexpr int kToLower = 27, kToMixed = 28,
                      kToPunctuation = 29; // and to upper, where it is lower already
        const SubMode mode = shifted_ ? shift_ : subMode_;
        const bool idle = shifted_ && mode == kUpper && value > kBlank; // a shift is for a character alone
        shifted_ = false;
        if (idle)
            return;
        const auto shift = [&](SubMode to) {
            shifted_ = true;
            shift_ = to;
        };
        switch (mode) {
        case kUpper:
        case kLower:
            if (value < kBlank)
                out_ += static_cast<char>((mode == kUpper ? 'A' : 'a') + value);
            else if (value == kBlank)
                out_ += ' ';
            else if (value == kToPunctuation)
                shift(kPunctuation);
            else if (value == kToMixed)
                subMode_ = kMixed;
            else if (mode == kUpper)
                subMode_ = kLower;
            else
                shift(kUpper);
            break;
        case kMixed:
            if (value < 25)
                out_ += kMixedSet[value];
            else if (value == 25)
                subMode_ = kPunctuation;
            else if (value == kBlank)
                out_ += ' ';
            else if (value == kToLower)
                subMode_ = kLower;
            else if (value == kToMixed)
                subMode_ = kUpper;
            else
                shift(kPunctuation);
            break;
        case kPunctuation:
            if (value < 29)
                out_ += kPunctuationSet[value];
            else
                subMode_ = kUpper;
            break;
        }
    }

    void ReadBytes(bool whole) {
        constexpr size_t kGroup = 5; // codewords for six bytes
        std::vector<int> group;
        while (next_ < end_) {
            if (IsSet(Word())) {
                next_ += static_cast<size_t>(WordsOfSet(Word()));
                continue;
            }
            if (!AtData())
                break;
            group.push_back(Word());
            ++next_;
            // The last group of codewords may stand for one byte each.
            if (group.size() == kGroup && (whole || AtData())) {
                uint64_t value = 0;
                for (const int word : group)
                    value = value * 900 + static_cast<uint64_t>(word);
                for (int shift = 40; shift >= 0; shift -= 8)
                    out_ += static_cast<char>(value >> shift & 255);
                group.clear();
            }
        }
        if (whole && !group.empty())
            sound_ = false;
        for (const int word : group)
            out_ += static_cast<char>(word);
    }

    /// Up to fifteen codewords are one number to base 900, whose first decimal digit, a one, only keeps
    /// zeros.
    void ReadNumbers() {
        constexpr size_t kGroup = 15;
        std::vector<int> group;
        while (next_ < end_) {
            if (IsSet(Word())) {
                Number(group);
                next_ += static_cast<size_t>(WordsOfSet(Word()));
                continue;
            }
            if (!AtData())
                break;
            group.push_back(Word());
            ++next_;
            if (group.size() == kGroup)
                Number(group);
        }
        Number(group);
    }

    void Number(std::vector<int> &group) {
        std::string digits;
        while (!group.empty()) { // by tens, the lowest digit first
            int rest = 0;
            for (int &word : group) {
                rest = rest * 900 + word;
                word = rest / 10;
                rest %= 10;
            }
            digits += static_cast<char>('0' + rest);
            group.erase(group.begin(),
                        std::find_if(group.begin(), group.end(), [](int word) { return word != 0; }));
        }
        if (digits.empty())
            return;
        sound_ = sound_ && digits.back() == '1';
        out_.append(digits.rbegin() + 1, digits.rend());
    }

    const std::vector<int> &words_;
    std::string &out_;
    size_t next_ = 1, end_ = 0;
    SubMode subMode_ = kUpper, shift_ = kUpper;
    bool shifted_ = false;
    bool sound_ = true; // no codeword without a meaning so far
};

} // namespace

bool DecodeCompaction(const std::vector<int> &words, std::string *bytes) {
    bytes->clear();
    return Reader(words, *bytes).Read();
}

} // namespace sd2::own
