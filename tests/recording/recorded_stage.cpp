// A recorded session for tests.
#include "recorded_stage.h"

#include "tests/protocol/hex.h"

namespace qx5::test {

std::vector<unsigned char> RecordedRangeFrame()
{
    return protocol::test::Bytes("05 00 3c 00 ff ff 00 00 60 00 00 00 00 00 00 00 00 00 00 00 e7 07 3e 01 00 00 a0 41"
                                 "16 0d 01 00 4c 1d 00 00 00 00 00 00 00 00 ff ff 00 00 00 00 00 00 00 00 00 00 00 00"
                                 "00 00 00 00 00 00 00 00 eb 03 00 00 eb 03 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
                                 "00 00 00 00 00 00 48 42 00 00 00 00");
}

std::vector<unsigned char> LongFrame(std::size_t dataSize)
{
    auto frame =
        protocol::test::Bytes("05 00 3c 00 ff ff 00 00 00 00 00 00 00 00 00 00 00 00 00 00 e7 07 3e 01 00 00 a0"
                              "41 16 0d 01 00 10 27 00 00 00 00 00 00 00 00 ff ff 00 00 00 00 00 00 00 00 00 00"
                              "00 00 00 00 00 00 00 00 00 00");
    frame.resize(68 + dataSize);
    frame[8] = static_cast<unsigned char>(frame.size() & 0xFF);
    frame[9] = static_cast<unsigned char>(frame.size() >> 8 & 0xFF);
    frame[10] = static_cast<unsigned char>(frame.size() >> 16 & 0xFF);
    return frame;
}

CAttributeMap Value(wchar_t const* key, double value)
{
    CAttributeMap tree;
    tree.Add(AttributeKey(key), CVordalDouble(value), 0);
    return tree;
}

recording::RecorderOptions RecordedStage::Options()
{
    recording::RecorderOptions options;
    options.program = {{"version", "0.1"}};
    options.utc = [] { return stageStart; };
    options.steady = [this] { return m_steady.load(); };
    return options;
}

std::filesystem::path RecordedStage::RecordTwoSonars()
{
    using vordal::LinkState;
    auto file = folder / "two.mcap";
    At(0);
    recording::FlightRecorder recorder(file, Options());
    auto settings = Value(L"x5Range", 100.0);
    settings.Add(AttributeKey(L"x5Gain"), CVordalDouble(10.0), 0);
    recorder.Begin(bow, "Bow", settings);
    recorder.Begin(stern, "Stern", Value(L"x5Range", 30.0));
    recorder.Connection(bow, {LinkState::Connected, "", std::chrono::milliseconds(0)});
    At(1000);
    operation::Action action;
    action.number = 7;
    action.who = vordal::RequestOrigin::Terminal;
    action.sonar = bow;
    action.asked = Value(L"x5Range", 50.0);
    recorder.OnActionBegins(action);
    recorder.Frame(bow, true, RecordedRangeFrame());
    recorder.OnEcho(bow, Value(L"x5Range", 50.0), 0);
    At(2000);
    recorder.Frame(bow, false, RecordedRangeFrame());
    recorder.OnSonarTells(bow, Value(L"x5Range", 49.5));
    action.result = operation::Result::Differs;
    action.got = Value(L"x5Range", 49.5);
    action.reason = "asked 50 m, the sonar has 49.5 m";
    recorder.OnActionStands(action);
    At(3000);
    recorder.Mark("a wreck");
    At(4000);
    recorder.Frame(stern, false, LongFrame(3000));
    At(5000);
    recorder.Connection(bow, {LinkState::Lost, "reset", std::chrono::milliseconds(0)});
    recorder.Connection(bow, {LinkState::Connected, "", std::chrono::milliseconds(0)});
    recorder.Frame(bow, true, RecordedRangeFrame());
    recorder.Finish();
    return file;
}

} // namespace qx5::test
