! Records and functions of QMX_IC for Fortran 2003 and later. Copy this file.
!
! Scalars that go in are passed by value; arrays are assumed-size and contiguous. Positions that
! find_points_in_circle and find_points_in_polygon give count from 0, those of IC_PointsData_stats
! from 1. Calls must not overlap.
module qmx_ic
   use, intrinsic :: iso_c_binding, only: c_int32_t, c_float, c_double, c_char
   implicit none
   public

   integer(c_int32_t), parameter :: qmx_ic_success = 1, qmx_ic_failure = 3
   integer(c_int32_t), parameter :: qmx_ic_yes = 1, qmx_ic_no = 2

   type, bind(C) :: t_icdata
      real(c_double) :: d_x = 0           ! easting, in the caller's planar unit of length
      real(c_double) :: d_y = 0           ! northing, same unit
      real(c_double) :: d_val = 0         ! the measured value, or a pass count
      integer(c_int32_t) :: i_passno = 1  ! counted from 1
      integer(c_int32_t) :: i_reserved = 0
   end type

   type, bind(C) :: t_statsout
      integer(c_int32_t) :: i_flag_target = 2 ! in
      integer(c_int32_t) :: i_target_met = 2  ! out
      integer(c_int32_t) :: i_numdata = 0     ! out
      real(c_float) :: x_stat(15) = 0         ! out
      integer(c_int32_t) :: i_numbins = 0     ! out
      real(c_float) :: x_bin(200) = 0         ! out
      real(c_float) :: x_freq(200) = 0        ! out
      real(c_float) :: x_cumfreq(200) = 0     ! out
      real(c_float) :: x_target = 0           ! in
      real(c_float) :: x_target_pct = 0       ! in
      real(c_float) :: x_achieved_pct = 0     ! out
      real(c_float) :: x_pctlevel(2) = 0      ! in
      real(c_float) :: x_pctvalue(2) = 0      ! out
   end type

   type, bind(C) :: t_fitout
      integer(c_int32_t) :: i_degree = 0
      real(c_float) :: x_coef(10) = 0 ! constant term first
      real(c_float) :: x_rsq = 0      ! percent
   end type

   type, bind(C) :: t_gamvset_user
      integer(c_int32_t) :: i_nlag = 1
      real(c_float) :: x_xlag = 0
      real(c_float) :: x_azm = 0
      real(c_float) :: x_atol = 90
      real(c_float) :: x_bandwh = 0
      integer(c_int32_t) :: i_standsills = 2
   end type

   type, bind(C) :: t_passbin
      integer(c_int32_t) :: i_pass_lower = 0
      integer(c_int32_t) :: i_pass_upper = -1 ! no upper end
   end type

   type, bind(C) :: t_areaflt
      integer(c_int32_t) :: i_flag_exclusion ! 1 excluded, 2 included
      integer(c_int32_t) :: i_numvertices
      real(c_double) :: d_vert_x(10000)
      real(c_double) :: d_vert_y(10000)
   end type

   type, bind(C) :: t_binresult
      real(c_float) :: x_coverage = 0
      real(c_float) :: x_compacted_area = 0
      real(c_float) :: x_plan_area = 0
   end type

   type, bind(C) :: t_event
      character(c_char) :: c_description(256) = ' ' ! padded with blanks
      character(c_char) :: c_subfunc(256) = ' '
      integer(c_int32_t) :: i_errcode = 0
      integer(c_int32_t) :: i_errclass = 0
   end type

   interface
      integer(c_int32_t) function ICdata_stats(i_flag_pass, i_flag_below, i_numdata, t_data, &
            t_out, t_evt) bind(C, name='ICdata_stats')
         import :: c_int32_t, t_icdata, t_statsout, t_event
         integer(c_int32_t), value :: i_flag_pass, i_flag_below, i_numdata
         type(t_icdata), intent(in) :: t_data(*)
         type(t_statsout), intent(inout) :: t_out
         type(t_event), intent(inout) :: t_evt
      end function

      integer(c_int32_t) function IC_compact_curve_b(i_maxpassno, i_mindata, i_numdata, t_data, &
            i_numpasses, d_passmean, d_curvex, d_curvey, t_fit, t_evt) &
            bind(C, name='IC_compact_curve_b')
         import :: c_int32_t, c_double, t_icdata, t_fitout, t_event
         integer(c_int32_t), value :: i_maxpassno, i_mindata, i_numdata
         type(t_icdata), intent(in) :: t_data(*)
         integer(c_int32_t), intent(inout) :: i_numpasses
         real(c_double), intent(inout) :: d_passmean(*), d_curvex(100), d_curvey(100)
         type(t_fitout), intent(inout) :: t_fit
         type(t_event), intent(inout) :: t_evt
      end function

      integer(c_int32_t) function call_polycurvefit(i_npoints, i_degree, s_xdata, s_ydata, &
            s_xcurve, s_ycurve) bind(C, name='call_polycurvefit')
         import :: c_int32_t, c_float
         integer(c_int32_t), value :: i_npoints, i_degree
         real(c_float), intent(in) :: s_xdata(*), s_ydata(*)
         real(c_float), intent(inout) :: s_xcurve(100), s_ycurve(100)
      end function

      integer(c_int32_t) function IC_semivariogram(i_ndata, t_data, t_gamvset, x_lagdist, &
            x_gamma, x_modelcoef, x_fitlag, x_fitgamma, s_fitsummary, t_evt) &
            bind(C, name='IC_semivariogram')
         import :: c_int32_t, c_float, c_double, t_icdata, t_gamvset_user, t_event
         integer(c_int32_t), value :: i_ndata
         type(t_icdata), intent(in) :: t_data(*)
         type(t_gamvset_user), intent(in) :: t_gamvset
         real(c_double), intent(inout) :: x_lagdist(*), x_gamma(*), x_modelcoef(2)
         real(c_double), intent(inout) :: x_fitlag(100), x_fitgamma(100)
         real(c_float), intent(inout) :: s_fitsummary(4)
         type(t_event), intent(inout) :: t_evt
      end function

      integer(c_int32_t) function find_points_in_circle(i_numpoints, d_radius, d_center, d_x, &
            d_y, i_found, i_indices, t_evt) bind(C, name='find_points_in_circle')
         import :: c_int32_t, c_double, t_event
         integer(c_int32_t), value :: i_numpoints
         real(c_double), value :: d_radius
         real(c_double), intent(in) :: d_center(2), d_x(*), d_y(*)
         integer(c_int32_t), intent(out) :: i_found
         integer(c_int32_t), intent(inout) :: i_indices(*)
         type(t_event), intent(inout) :: t_evt
      end function

      integer(c_int32_t) function find_points_in_polygon(i_numvertices, i_numpoints, d_vertexx, &
            d_vertexy, d_x, d_y, i_found, i_indices, t_evt) bind(C, name='find_points_in_polygon')
         import :: c_int32_t, c_double, t_event
         integer(c_int32_t), value :: i_numvertices, i_numpoints
         real(c_double), intent(in) :: d_vertexx(*), d_vertexy(*), d_x(*), d_y(*)
         integer(c_int32_t), intent(out) :: i_found
         integer(c_int32_t), intent(inout) :: i_indices(*)
         type(t_event), intent(inout) :: t_evt
      end function

      integer(c_int32_t) function IC_PointsData_stats(i_numdata, i_numtests, d_radius, t_data, &
            t_tests, t_stats, x_regress, i_numvalid, i_validlist, d_predict, t_evt) &
            bind(C, name='IC_PointsData_stats')
         import :: c_int32_t, c_float, c_double, t_icdata, t_statsout, t_event
         integer(c_int32_t), value :: i_numdata, i_numtests
         real(c_double), value :: d_radius
         type(t_icdata), intent(in) :: t_data(*), t_tests(*)
         type(t_statsout), intent(inout) :: t_stats(*)
         real(c_float), intent(inout) :: x_regress(3)
         integer(c_int32_t), intent(inout) :: i_numvalid, i_validlist(*)
         real(c_double), intent(inout) :: d_predict(*)
         type(t_event), intent(inout) :: t_evt
      end function

      integer(c_int32_t) function IC_coverage(x_meshsize, i_num_point, i_num_bins, i_num_areas, &
            t_bins, t_data, t_areas, t_results, t_evt) bind(C, name='IC_coverage')
         import :: c_int32_t, c_float, t_passbin, t_icdata, t_areaflt, t_binresult, t_event
         real(c_float), intent(in) :: x_meshsize(2)
         integer(c_int32_t), value :: i_num_point, i_num_bins, i_num_areas
         type(t_passbin), intent(in) :: t_bins(*)
         type(t_icdata), intent(in) :: t_data(*)
         type(t_areaflt), intent(in) :: t_areas(*)
         type(t_binresult), intent(inout) :: t_results(*)
         type(t_event), intent(inout) :: t_evt
      end function
   end interface

contains

   ! Bytes of the eight records as the compiler lays them out.
   function record_sizes() result(sizes)
      integer :: sizes(8)
      type(t_icdata) :: point
      type(t_statsout) :: statistics
      type(t_fitout) :: fit
      type(t_gamvset_user) :: settings
      type(t_passbin) :: bin
      type(t_areaflt), allocatable :: area
      type(t_binresult) :: coverage
      type(t_event) :: event
      allocate (area)
      sizes = [storage_size(point), storage_size(statistics), storage_size(fit), &
               storage_size(settings), storage_size(bin), storage_size(area), &
               storage_size(coverage), storage_size(event)]/8
   end function

   ! Stops where a record is not laid out as agreed. Call it once.
   subroutine check_records()
      integer, parameter :: agreed(8) = [32, 2504, 48, 24, 8, 160008, 12, 520]
      if (any(record_sizes() /= agreed)) error stop 'qmx_ic: a record has another size'
   end subroutine

   ! A text of an event without the blanks behind it.
   function text_of(padded) result(text)
      character(c_char), intent(in) :: padded(256)
      character(:), allocatable :: text
      integer :: i
      text = repeat(' ', 256)
      do i = 1, 256
         text(i:i) = padded(i)
      end do
      text = trim(text)
   end function
end module
