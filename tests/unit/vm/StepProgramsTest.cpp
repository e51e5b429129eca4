// Random programs run by steps as they run instruction by instruction.
#include <stdlib.h>

#include "ProgramMaker.h"
#include "ProgramRemains.h"
#include "StackValues.h"

namespace {

// Instructions that a program has time for. One that takes more is left out, as is one whose
// values grow too large.
const long kMostInstructions = 3000;

// By its handlers alone. The machine looks up before every instruction, so that those can be
// counted; false when there are too many.
bool RunByHandlers(const Program& program, std::string* remains)
{
    ProgramWorld world(program);
    MachineInnards::SetEagerness(world.vm(), DecodedCode::kNever);
    world.Interrupt(kMostInstructions, true);
    int result = world.vm()->Go();
    *remains = ProgramRemains::Of(&world, result);
    return !world.cancelled;
}

std::string RemainsWhen(DecodedCode::Eagerness eagerness, const Program& program)
{
    ProgramWorld world(program);
    if (eagerness != DecodedCode::kWhenRepeated)
        MachineInnards::SetEagerness(world.vm(), eagerness);
    int result = world.vm()->Go();
    return ProgramRemains::Of(&world, result);
}

// The machine looks up wherever it would.
std::string RemainsWhenInterrupted(const Program& program)
{
    ProgramWorld world(program);
    MachineInnards::SetEagerness(world.vm(), DecodedCode::kAlways);
    world.Interrupt(2 * kMostInstructions, false);
    int result = world.vm()->Go();
    return ProgramRemains::Of(&world, result);
}

TEST(StepPrograms, StepsLeaveWhatTheirInstructionsLeave)
{
    const unsigned int programs = getenv("ZEPH_LONG_TESTS") ? 100000 : 12000;
    NoArrayLeft none;
    unsigned int compared = 0, ended = 0;
    for (unsigned int seed = 1; seed <= programs; ++seed) {
        SCOPED_TRACE(seed);
        Program program = ProgramMaker(seed).Make();
        std::string expected;
        if (!RunByHandlers(program, &expected))
            continue;
        ++compared;
        ended += expected.compare(0, 9, "result 1\n") == 0;
        ASSERT_EQ(RemainsWhen(DecodedCode::kAlways, program), expected);
        ASSERT_EQ(RemainsWhen(DecodedCode::kWhenRepeated, program), expected);
        ASSERT_EQ(RemainsWhenInterrupted(program), expected);
    }
    // The programs are worth the time: most can be compared, and most run to their end.
    EXPECT_GT(compared, programs * 3 / 4);
    EXPECT_GT(ended, programs / 3);
}

}  // namespace
