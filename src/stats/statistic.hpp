// What an entry needs to know about its statistic. Each statistic's header describes it in these
// terms; the frame in entry_frame.hpp does everything else.
//
// A statistic's description is a struct with:
//   name                       the statistic's name, the function of every exception it throws
//   outputs, absent[]          the output rule and the texts of its checks
//   engine                     the GPU engine that computes it
//   cpu_frame                  the CPU engine's frame of it (detail::cpu)
//   gpu_functor<T, Usm>        the GPU functor of the plain form
//   gpu_functor_user_mean<T, Usm>   the GPU functor of the form with the caller's mean, if any
#pragma once

namespace vorlex::orv::stats::detail {

// The texts of a failed output check: the USM form tests a pointer against null, the buffer form a
// buffer's element count against 0.
struct absent_texts {
  const char* usm;
  const char* buffer;
};

enum class output_rule {
  // Each output must be given; they are checked in order, each with its own texts (absent[i]).
  each_required,
  // A call fails only when no output is given (absent[0]). Every output after the first has a
  // wanted-flag in the functor; the first has none and is always written.
  later_optional,
};

enum class gpu_engine { moments, extremes };

inline constexpr absent_texts mean_absent{"mean is nullptr", "mean array length is 0"};

// Stands for the mean argument of a plain form: the statistic finds the mean itself.
struct no_mean {};

}  // namespace vorlex::orv::stats::detail
