! One call of each function on a small lot, from Fortran. It prints the lines of eight_calls.c.
program eight_calls
   use, intrinsic :: iso_fortran_env, only: error_unit
   use qmx_ic
   implicit none
   integer, parameter :: cells = 120, passes = 4, records = cells*passes
   type(t_icdata) :: lot(records), last(cells)
   real(c_double) :: x(cells), y(cells)
   type(t_event) :: event
   integer :: i, k

   do k = 1, passes
      do i = 0, cells - 1
         x(i + 1) = 0.5d0*mod(i, 20)
         y(i + 1) = 0.5d0*(i/20)
         lot((k - 1)*cells + i + 1) = t_icdata(x(i + 1), y(i + 1), &
                                               real(25 + 10*k - k*k + mod(7*i, 11), c_double), k, 0)
      end do
   end do
   last = lot(records - cells + 1:)

   call check_records()
   call statistics()
   call curves()
   call semivariogram()
   call selections()
   call spot_tests()
   call coverage()

contains

   subroutine check(outcome)
      integer(c_int32_t), intent(in) :: outcome
      if (outcome == qmx_ic_success) return
      write (error_unit, '(a)') text_of(event%c_description)
      stop 1
   end subroutine

   subroutine print_number(name, number)
      character(*), intent(in) :: name
      real(c_double), intent(in) :: number
      character(26) :: padded
      padded = name
      print '(a26, f14.4)', padded, number
   end subroutine

   subroutine statistics()
      type(t_statsout) :: out
      out%i_flag_target = qmx_ic_yes
      out%x_target = 49
      out%x_target_pct = 90
      call check(ICdata_stats(qmx_ic_no, qmx_ic_no, cells, last, out, event))
      call print_number('mean', real(out%x_stat(1), c_double))
      call print_number('above the target', real(out%x_achieved_pct, c_double))
   end subroutine

   subroutine curves()
      integer(c_int32_t) :: used
      real(c_double) :: means(passes), curve_x(100), curve_y(100)
      real(c_float) :: polynomial_x(100), polynomial_y(100)
      type(t_fitout) :: fit
      call check(IC_compact_curve_b(passes, 1, records, lot, used, means, curve_x, curve_y, fit, &
                                    event))
      call print_number('passes', real(used, c_double))
      call print_number('mean of pass 1', means(1))
      call print_number('mean of the last pass', means(used))
      call print_number('quadratic term', real(fit%x_coef(3), c_double))
      call print_number('end of the curve', curve_y(100))

      if (call_polycurvefit(10, 2, [(real(k, c_float), k=0, 9)], &
                            [(real(5 + k*k + mod(k, 2), c_float), k=0, 9)], &
                            polynomial_x, polynomial_y) /= qmx_ic_success) error stop 'failed'
      call print_number('start of the polynomial', real(polynomial_y(1), c_double))
      call print_number('end of the polynomial', real(polynomial_y(100), c_double))
   end subroutine

   subroutine semivariogram()
      type(t_gamvset_user) :: settings
      ! From 0, as the lag classes are counted.
      real(c_double) :: distances(0:7), semivariances(0:7), model(2), curve_x(100), curve_y(100)
      real(c_float) :: summary(4)
      settings = t_gamvset_user(6, 0.5, 0.0, 90.0, 10.0, qmx_ic_no)
      call check(IC_semivariogram(cells, last, settings, distances, semivariances, model, curve_x, &
                                  curve_y, summary, event))
      call print_number('distance of class 3', distances(3))
      call print_number('semivariance of class 3', semivariances(3))
      call print_number('range of the model', model(1))
      call print_number('sill of the model', model(2))
      call print_number('range read off', real(summary(1), c_double))
   end subroutine

   subroutine selections()
      integer(c_int32_t) :: found, indices(cells)
      call check(find_points_in_circle(cells, 1d0, [2d0, 1d0], x, y, found, indices, event))
      call print_number('in the circle', real(found, c_double))
      call print_number('first, from 0', real(indices(1), c_double))
      call print_number('last', real(indices(found), c_double))

      call check(find_points_in_polygon(4, cells, [1.1d0, 4.1d0, 4.1d0, 1.1d0], &
                                        [0.6d0, 0.6d0, 2.1d0, 2.1d0], x, y, found, indices, event))
      call print_number('in the polygon', real(found, c_double))
      call print_number('first, from 0', real(indices(1), c_double))
      call print_number('last', real(indices(found), c_double))
   end subroutine

   subroutine spot_tests()
      type(t_icdata) :: tests(4)
      type(t_statsout) :: stats(4)
      real(c_float) :: line(3)
      integer(c_int32_t) :: valid, list(4)
      real(c_double) :: predicted(4)
      tests%d_x = [1, 4, 7, 4]
      tests%d_y = [1, 1, 1, 2]
      tests%d_val = [10, 12, 15, 11]
      tests%i_passno = 4
      call check(IC_PointsData_stats(records, 4, 1d0, lot, tests, stats, line, valid, list, &
                                     predicted, event))
      call print_number('spot tests with data', real(valid, c_double))
      call print_number('records round the first', real(stats(1)%i_numdata, c_double))
      call print_number('intercept', real(line(1), c_double))
      call print_number('slope', real(line(2), c_double))
      call print_number('R-squared, percent', real(line(3), c_double))
      call print_number('predicted', predicted(list(1)))
   end subroutine

   subroutine coverage()
      type(t_passbin) :: bins(2)
      type(t_areaflt), allocatable :: areas(:)
      type(t_icdata) :: counts(cells)
      type(t_binresult) :: results(2)
      bins = [t_passbin(1, 2), t_passbin(3, -1)]
      allocate (areas(2))
      areas%i_flag_exclusion = [qmx_ic_no, qmx_ic_yes]
      areas%i_numvertices = 4
      areas(1)%d_vert_x(:4) = [0, 10, 10, 0]
      areas(1)%d_vert_y(:4) = [0, 0, 3, 3]
      areas(2)%d_vert_x(:4) = [1, 2, 2, 1]
      areas(2)%d_vert_y(:4) = [1, 1, 2, 2]
      counts = last
      counts%d_val = [(1 + mod(i, 4), i=0, cells - 1)]
      call check(IC_coverage([0.5, 0.5], cells, 2, 2, bins, counts, areas, results, event))
      call print_number('1 or 2 passes, percent', real(results(1)%x_coverage, c_double))
      call print_number('3 and more, area', real(results(2)%x_compacted_area, c_double))
      call print_number('area of the plan', real(results(1)%x_plan_area, c_double))
   end subroutine
end program
