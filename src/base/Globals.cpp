#include "katessel/Globals.h"

namespace KaTessel {

int performance_analysis_ = 1;
float syntemperature_ = 1.0f;
float multinomial_th_ = 0.001f;
float nsoftmax_ = 256.0f;
bool synrandomseed_ = false;
int transp_st_ = 0;
std::string task_;

float wavenet2_step_dur_ = 0.0f;
float condnet_dur_ = 0.0f;
float wavenet2D_step_dur_ = 0.0f;
float mol_act_step_dur_ = 0.0f;

#ifdef _LIBCPP_VERSION
std::random_device rd_;  // which knows no device of that name
#else
std::random_device rd_("default");
#endif
std::mt19937 gen_(rd_());
std::default_random_engine generator_(1);

}  // namespace KaTessel
