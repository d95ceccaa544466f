// Calls: what a function is handed, what becomes of its outputs and of its failures.
#include "host/call.h"

#include <array>
#include <limits>
#include <optional>

#include "support/libraries.h"
#include "tests/host/host_test_support.h"

namespace readkit::host::host_call_test {
namespace {

/// Calls functions of the fake library.
class Call : public NothingLeaks {
 protected:
  void TearDown() override {
    library_.reset();
    NothingLeaks::TearDown();
  }

  std::vector<Owned> call_named(const char* name, int nlhs,
                                std::initializer_list<const txArray*> inputs = {}) {
    return call(library_->function(name), nlhs, inputs);
  }

  // The error of the function that fails as `kind` says.
  HostError failure(const char* kind) {
    const Owned input = make_text(kind);
    try {
      call_named("fail", 1, {input.get()});
    } catch (const HostError& e) {
      return e;
    }
    ADD_FAILURE() << "nothing was raised for " << kind;
    return HostError("");
  }

  std::optional<Library> library_{fake_library_path()};
};

// ---- Inputs and slots ------------------------------------------------------------------------

TEST_F(Call, HandsOverInputsInOrder) {
  const Owned first = make_text("first");
  const Owned second = make_string(u"second");
  const auto outputs = call_named("echo", 2, {first.get(), second.get()});
  ASSERT_EQ(outputs.size(), 2U);
  EXPECT_EQ(text_of(outputs[0].get()), "first");
  EXPECT_EQ(text_of(outputs[1].get()), "second");
}

TEST_F(Call, TakesInputsAsHandlesToo) {
  std::vector<Owned> inputs;
  inputs.push_back(make_text("text"));
  const auto outputs = call(library_->function("echo"), 1, inputs);
  EXPECT_EQ(text_of(outputs[0].get()), "text");
  EXPECT_EQ(text_of(inputs[0].get()), "text");
}

TEST_F(Call, PassesTheCountsAsTheyAre) {
  const Owned input = make_scalar(1.0);
  const auto outputs = call_named("counts", 3, {input.get(), input.get()});
  EXPECT_EQ(txGetScalar(outputs[0].get()), 3.0);
  EXPECT_EQ(txGetScalar(outputs[1].get()), 2.0);
}

TEST_F(Call, HandsOverSixteenNullSlotsWhateverIsAskedFor) {
  const auto outputs = call_named("counts", 3);
  EXPECT_EQ(txGetScalar(outputs[2].get()), 16.0);
  const auto one = call_named("counts", 0);
  EXPECT_EQ(txGetScalar(one[0].get()), 0.0);
}

TEST_F(Call, HandsOverAsManySlotsAsAreAskedFor) {
  const auto outputs = call_named("fill_sixteen", 40);
  ASSERT_EQ(outputs.size(), 40U);
  EXPECT_EQ(txGetScalar(outputs[15].get()), 15.0);
  EXPECT_EQ(outputs[16], nullptr);
}

// ---- Outputs ---------------------------------------------------------------------------------

TEST_F(Call, DestroysWhatLiesBeyondTheWantedOutputs) {
  for (const int nlhs : {0, 1, 5, 16}) {
    const auto outputs = call_named("fill_sixteen", nlhs);
    EXPECT_EQ(outputs.size(), static_cast<std::size_t>(nlhs == 0 ? 1 : nlhs));
    EXPECT_EQ(txGetScalar(outputs.back().get()), nlhs == 0 ? 0.0 : nlhs - 1.0);
  }
}  // the fixture counts

TEST_F(Call, UnfilledSlotsGiveNullHandles) {
  const auto none = call_named("fill_none", 2);
  ASSERT_EQ(none.size(), 2U);
  EXPECT_EQ(none[0], nullptr);
  EXPECT_EQ(none[1], nullptr);
  const auto second = call_named("fill_second", 2);
  EXPECT_EQ(second[0], nullptr);
  EXPECT_EQ(text_of(second[1].get()), "second");
}

TEST_F(Call, AnInputIsNoOutput) {
  const Owned input = make_text("mine");
  EXPECT_HOST_ERROR(call_named("give_input", 1, {input.get()}), id::kInvalidOutput);
  EXPECT_EQ(text_of(input.get()), "mine");
}

TEST_F(Call, OneArrayInTwoOutputsIsRefusedAndDestroyedOnce) {
  EXPECT_HOST_ERROR(call_named("give_twice", 2), id::kInvalidOutput);
}

TEST_F(Call, AnOutputRepeatedBeyondTheWantedOnesStaysWithTheCaller) {
  const auto outputs = call_named("give_twice", 1);
  EXPECT_EQ(text_of(outputs[0].get()), "twice");
}

TEST_F(Call, APartOfAnOutputIsNoOutput) {
  EXPECT_HOST_ERROR(call_named("give_part", 2), id::kInvalidOutput);
  const auto whole = call_named("give_part", 1);
  EXPECT_EQ(texts_of(whole[0].get()), std::vector<std::string>{"part"});
}

// ---- Refused calls ---------------------------------------------------------------------------

TEST_F(Call, ImpossibleOutputCountsAreRefused) {
  for (const int nlhs :
       {-1, std::numeric_limits<int>::min(), kMaxOutputs + 1, std::numeric_limits<int>::max()}) {
    EXPECT_HOST_ERROR(call_named("fill_none", nlhs), id::kOutputCount);
  }
  EXPECT_EQ(call_named("fill_none", kMaxOutputs).size(), std::size_t{kMaxOutputs});
}

TEST_F(Call, NullInputsAreRefusedByPosition) {
  const Owned input = make_text("text");
  try {
    call_named("echo", 1, {input.get(), nullptr});
    FAIL();
  } catch (const HostError& e) {
    EXPECT_EQ(e.identifier(), id::kNullInput);
    EXPECT_EQ(e.text(), "Input 2 of the call is missing.");
  }
  const std::vector<Owned> null_handle(1);
  EXPECT_HOST_ERROR(call(library_->function("echo"), 1, null_handle), id::kNullInput);
}

TEST_F(Call, NoFunctionIsRefused) {
  EXPECT_HOST_ERROR(call_entry(nullptr, 0, {}), id::kNoFunction);
}

// ---- Failures --------------------------------------------------------------------------------
// The failing function fills slots first: the fixture finds what is not destroyed, a sanitizer what
// is destroyed twice.

TEST_F(Call, LibraryErrorsKeepIdentifierAndArgumentsAndGetTheirText) {
  const HostError e = failure("FileNotFound");
  EXPECT_EQ(e.identifier(), "seqlab:readkit:FileNotFound");
  EXPECT_EQ(e.arguments(), (ErrorArguments{UString(u"r\u00E9ads.bam")}));
  EXPECT_STREQ(e.what(),
               "The file 'r\xC3\xA9"
               "ads.bam' cannot be opened for reading. Check that it exists and that you may read "
               "it.");
}

TEST_F(Call, LibraryErrorsKeepAllArgumentsOrNone) {
  EXPECT_EQ(failure("InvalidInputType").text(), "The input 'mode' must be of type double.");
  const HostError e = failure("TooManyOutputs");
  EXPECT_EQ(e.identifier(), "seqlab:readkit:TooManyOutputs");
  EXPECT_TRUE(e.arguments().empty());
}

TEST_F(Call, LibraryErrorsWithoutATextShowIdentifierAndArguments) {
  const HostError e = failure("UnknownKind");
  EXPECT_EQ(e.identifier(), "other:component:UnknownKind");
  EXPECT_EQ(e.text(), "The operation failed with the error 'other:component:UnknownKind': 5.");
}

TEST_F(Call, ErrorsRaisedThroughTheHostKeepTheirText) {
  const HostError e = failure("host");
  EXPECT_EQ(e.identifier(), "some:identifier");
  EXPECT_EQ(e.text(), "some text");
}

TEST_F(Call, StandardExceptionsAreReportedByKind) {
  const std::vector<std::array<const char*, 3>> rows = {
      {"out_of_range", "Tessel:cpp:out_of_range", "basic_string"},
      {"invalid_argument", "Tessel:cpp:invalid_argument", "stoi"},
      {"length_error", "Tessel:cpp:length_error", "too long"},
      {"bad_alloc", "Tessel:cpp:bad_alloc", "std::bad_alloc"},
      {"bad_array_new_length", "Tessel:cpp:bad_alloc", "std::bad_array_new_length"},
      {"bad_function_call", "Tessel:cpp:bad_function_call", "bad_function_call"},
      {"runtime_error", "Tessel:cpp:exception", "some failure"},
      {"int", "Tessel:cpp:exception", "an exception of an unknown type"},
  };
  for (const auto& [kind, identifier, text] : rows) {
    const HostError e = failure(kind);
    EXPECT_EQ(e.identifier(), identifier);
    EXPECT_EQ(e.text(), text);
    EXPECT_EQ(e.arguments(), ErrorArguments{std::string(text)});
  }
}

TEST_F(Call, LackOfHostMemoryInAFunctionIsReported) {
  EXPECT_HOST_ERROR(call_named("exhaust", 0), "Tessel:cpp:bad_alloc");
}

TEST_F(Call, TextErrorsOfTheHostInAFunctionAreReported) {
  const Owned number = make_scalar(1.0);
  EXPECT_HOST_ERROR(call_named("echo", 1, {number.get()}),
                    "Tessel:string:MustBeStringScalarOrCharacterVector");
}

TEST_F(Call, ErrorsOutliveTheLibrary) {
  const HostError e = [] {
    const Library library(fake_library_path());
    const Owned kind = make_text("InvalidInputType");
    try {
      call(library.function("fail"), 1, {kind.get()});
    } catch (const HostError& error) {
      return error;
    }
    return HostError("");
  }();
  EXPECT_EQ(e.identifier(), "seqlab:readkit:InvalidInputType");
  EXPECT_EQ(e.arguments().size(), 2U);
}

}  // namespace
}  // namespace readkit::host::host_call_test
