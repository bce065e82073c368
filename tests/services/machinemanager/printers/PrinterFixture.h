#pragma once

#include "machinemanager/printers/IPrinterLink.h"
#include "support/Files.h"
#include "support/Test.h"

#include <boost/uuid/string_generator.hpp>

#include <cstdlib>

/// A folder with a machine file, and an order for it.
namespace MachineService::MachineManager::Testing {

class PrinterWorld : public ::testing::Test
{
protected:
    PrinterWorld()
    {
        std::string name = std::filesystem::temp_directory_path() / "printer-XXXXXX";
        folder = ::mkdtemp(name.data());
        // A megabyte and more, so that it does not go at once.
        bytes.assign(3'000'000, 'x');
        bytes += "\r\n--end";
        order.job = boost::uuids::string_generator()("5b1d6f0e-6a0c-4c1e-9f4e-2d7a61c0a101");
        order.copy = 2;
        order.jobName = "Plate";
        order.file = folder / "kept" / "file";
        order.fileName = "Plate & lid.gcode";
        order.hash = "2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824";
        TestSupport::WriteFile(order.file, bytes);
    }
    ~PrinterWorld() override { std::filesystem::remove_all(folder); }

    enum class Outcome
    {
        Done,
        Refused,  ///< surely not begun
        NotKnown, ///< whether it has begun
    };
    /// The sentence is kept, and must be one.
    template <class Action>
    Outcome GetOutcome(const Action& i_action)
    {
        sentence.clear();
        try {
            i_action();
            return Outcome::Done;
        } catch (const PrinterRefusal& refusal) {
            sentence = refusal.what();
        } catch (const std::runtime_error& failure) {
            sentence = failure.what();
            EXPECT_THAT(sentence, MatchesRegex("[A-Z].+\\."));
            return Outcome::NotKnown;
        }
        EXPECT_THAT(sentence, MatchesRegex("[A-Z].+\\."));
        return Outcome::Refused;
    }
    void Send(IPrinterLink& io_link)
    {
        sent.clear();
        io_link.Send(
            order, [this](std::uint64_t i_bytes) { sent.push_back(i_bytes); }, stop.get_token());
    }

    static constexpr const char* FileName = "Plate & lid - 5b1d6f0e-6a0c-4c1e-9f4e-2d7a61c0a101-2.gcode";
    static constexpr const char* Key = "5b1d6f0e-6a0c-4c1e-9f4e-2d7a61c0a101-2";

    std::filesystem::path folder;
    std::string bytes;
    PrintOrder order;
    std::stop_source stop;
    std::vector<std::uint64_t> sent; ///< as it was told
    std::string sentence;            ///< of the last failure
};

} // namespace MachineService::MachineManager::Testing
