#include "attacker/Attack.h"

#include <cstddef>
#include <iostream>
#include <optional>
#include <set>

#include <gtest/gtest.h>

namespace attack {

namespace {

constexpr std::size_t MostExamples = 12;

std::vector<std::string> hiddenNamesDuring(const Scene& scene) {
    makeOutside();
    makeGround(scene);
    std::set<std::string> seen;
    Victim victim(scene.arguments);
    while (victim.next()) {
        const std::vector<std::string> now = hiddenNames();
        seen.insert(now.begin(), now.end());
    }
    const Ending ending = victim.finish();
    EXPECT_TRUE(ending.status == 0 && !ending.hung) << "a run that nobody attacked: status " << ending.status
                                                    << (ending.hung ? ", hung " : " ") << ending.output;
    return {seen.begin(), seen.end()};
}

} // namespace

void Tally::add(const std::string& attack, const std::vector<Harm>& harms) {
    ++tried;
    broken += harms.empty() ? 0 : 1;
    std::set<std::string> kinds;
    std::string example = attack;
    for (const Harm& harm : harms) {
        kinds.insert(harm.what);
        example += "\n      " + harm.what + ": " + harm.where;
    }
    for (const std::string& kind : kinds) {
        ++harmsByKind[kind];
    }
    if (!harms.empty() && examples.size() < MostExamples) {
        examples.push_back(example);
    }
}

std::string Tally::figures() const {
    std::string text = std::to_string(broken) + " of " + std::to_string(tried) + " runs broken";
    for (const auto& [kind, count] : harmsByKind) {
        text += ", " + kind + " " + std::to_string(count);
    }
    return text;
}

std::string Tally::complaint() const {
    std::string text = broken == 0 ? "" : figures() + "; the first:\n";
    for (const std::string& example : examples) {
        text += "  " + example + "\n";
    }
    return text;
}

void Tally::tell() const {
    testing::Test::RecordProperty("runs", tried);
    testing::Test::RecordProperty("broken", broken);
    std::cout << figures() << std::endl;
}

Watch::Watch(const Scene& attacked) : scene(attacked), hiddenSeen(hiddenNamesDuring(attacked)) {
    makeOutside(hiddenSeen);
    prepare();
    before = Snapshot();
}

std::vector<Harm> Watch::harmsOf(const Ending& ending) {
    std::vector<Harm> harms = before.harmsIn(Snapshot());
    const std::vector<Harm> revealed = revealedSecrets();
    if (!harms.empty()) {
        makeOutside(hiddenSeen);
        prepare();
        before = Snapshot();
    }
    harms.insert(harms.end(), revealed.begin(), revealed.end());
    if (ending.hung) {
        harms.push_back({"hung", "the run"});
    } else if (ending.status != 0) {
        harms.push_back({"failed", "status " + std::to_string(ending.status) + " " + ending.output});
    }
    return harms;
}

std::vector<Harm> Watch::harmsOfARun() {
    Victim victim(scene.arguments, Victim::Pace::Free);
    return harmsOf(victim.finish());
}

void runUndisturbed(const Scene& scene) {
    Victim victim(scene.arguments, Victim::Pace::Free);
    const Ending ending = victim.finish();
    EXPECT_FALSE(ending.hung);
    EXPECT_EQ(ending.status, 0) << ending.output;
}

std::ostream& operator<<(std::ostream& stream, const Attack& attack) {
    return stream << attack.scene.name << attack.place.name;
}

std::string nameOf(const testing::TestParamInfo<Attack>& info) {
    return info.param.scene.name + info.param.place.name;
}

void expectNoHarm(const Tally& tally) {
    tally.tell();
    EXPECT_GT(tally.runs(), 0);
    EXPECT_TRUE(tally.complaint().empty()) << tally.complaint();
}

void attackEachStep(const Scene& scene, const Place& place, Thing thing, int stepsUntilUndone, Tally& tally,
                    Stride stride) {
    Watch watch(scene);
    for (int step = stride.first;; step += stride.length) {
        watch.prepare();
        Victim victim(scene.arguments);
        Steps steps(stepsUntilUndone == 0 ? Sight::Names : Sight::Everything);
        std::optional<Swap> swap;
        std::string moment;
        int count = 0;
        while (const auto call = victim.next()) {
            count += steps.isStep(*call) ? 1 : 0;
            if (!swap && count == step) {
                moment = described(*call);
                swap.emplace(place.paths(watch.hidden()), thing);
            } else if (swap && stepsUntilUndone > 0 && count == step + stepsUntilUndone) {
                swap->undo();
            }
        }
        if (!swap) {
            return;
        }
        const Ending ending = victim.finish();
        if (swap->succeeded() || stepsUntilUndone > 0) {
            tally.add(place.name + ": " + described(thing) + " before step " + std::to_string(step) + ", " +
                          moment,
                      watch.harmsOf(ending));
        }
    }
}

} // namespace attack
