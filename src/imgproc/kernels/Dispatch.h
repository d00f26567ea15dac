// How a kernel's fast form is called.
#pragma once

namespace zun::kernels {

/// A function with the parameters of a plain form, which calls the form for the target in use. The header of a kernel x
/// gives it the name x, and ZUN_DISPATCH(x), in the file of the fast forms, defines it.
template <auto plainForm>
struct Dispatched;

template <class... Parameters, void (*plainForm)(Parameters...)>
struct Dispatched<plainForm> {
    static void call(Parameters... parameters);
};

} // namespace zun::kernels
