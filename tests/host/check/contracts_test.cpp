// Every promise that a check looks at stands where its row says.

#include "host/check/findings.h"

#include <gtest/gtest.h>

TEST(AContract, LeadsToOneLineOfItsFile)
{
    for (int i = 0; i < ContractCount(); ++i) {
        const Contract &contract = ContractOf(Rule(i));
        EXPECT_GT(LineOf(contract), 0) << contract.file << " has not, or has more than once: " << contract.anchor;
    }
}

TEST(AFinding, IsTheSameBehindItsLineOfJson)
{
    const Finding finding = {4,       "4/noise/worker", "noise", "KPZ_FreeMem", "ran it", "gives it back",
                             "a.h:1", "\"kept\"\n",     3};
    Finding read;
    ASSERT_TRUE(FindingOf(JsonOf(finding), read));
    EXPECT_EQ(read.happened, finding.happened);
    EXPECT_EQ(read.check, finding.check);
    EXPECT_EQ(read.again, 3);
    EXPECT_FALSE(FindingOf("no JSON", read));
}
